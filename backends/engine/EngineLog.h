// The engine's one way of telling the host's user about trouble it works around: a line on
// standard error, "Korvane: " and the message, written once per distinct message for the
// process's life, so that a failure met at every picture does not flood the output.
#ifndef KORVANE_ENGINE_LOG_H
#define KORVANE_ENGINE_LOG_H

#include <string>

namespace korvane {

// Writes "Korvane: <_strMessage>" and a newline to stderr unless that message was written
// before. Thread-safe.
void LogOnce(const std::string& _strMessage);

} // namespace korvane

#endif // KORVANE_ENGINE_LOG_H
