// The command-line checks of the demo and the viewer: each reads one option's value and, when
// the value is refused, gives one line naming the option and the values it allows.
#ifndef FISHPLAYER_COMMAND_LINE_H
#define FISHPLAYER_COMMAND_LINE_H

#include <QString>
#include <QStringList>

#include <utility>

namespace cmdline {

// Exit status of a command given a bad option (and of a usage error).
constexpr int EXIT_USAGE = 2;

// The sizes a --size WxH may give, on each side.
constexpr int MIN_SIDE = 16;
constexpr int MAX_SIDE = 16384;
// Below this on a side a picture is accepted but said to be unusual.
constexpr int USUAL_MIN_SIDE = 160;

// The mounting modes: 1 wall, 2 ceiling, 3 floor.
constexpr int MOUNT_WALL = 1;
constexpr int MOUNT_CEILING = 2;
constexpr int MOUNT_FLOOR = 3;
// "1 (wall), 2 (ceiling) or 3 (floor)", as the messages and the usage texts say it.
QString MountChoices();
// "wall", "ceiling" or "floor"; "" for any other value.
QString MountName(int _iMount);

// The open engine's renderers, as --renderer names them: gl, cpu and auto (the engine's default).
QStringList RendererChoices();
// "one of gl, cpu, auto", as the messages say it.
QString RendererChoicesText();
// The variable through which the engine is told (read when it draws its first view).
constexpr const char* RENDERER_VARIABLE = "KORVANE_RENDERER";
// A network source's time-out (--timeout S), in seconds.
constexpr double MIN_TIMEOUT_S = 0.5;
constexpr double MAX_TIMEOUT_S = 120;
// "seconds, 0.5 to 120", as the messages and the usage texts say it.
QString TimeoutChoices();

// The --help lines of the options the demo and the viewer share: --transport, --timeout and
// --renderer.
extern const char* const SHARED_OPTIONS_USAGE;

// What a command line asks for.
enum class ParseResult { Run, Help, Refused };
// The exit status of a command line that does not run (0 after printing the usage for --help,
// EXIT_USAGE for a refusal, already said); -1 when it runs.
int ExitWithoutRunning(ParseResult _eResult, void (*_pfUsage)());
// --help or -h.
bool IsHelp(const QString& _qstrArg);
// The arguments after the program's name.
QStringList Arguments(int _iArgc, char** _ppcArgv);

// One option's checks. Each returns false and sets Error() when the value is refused.
class Parser {
public:
    explicit Parser(QString _qstrProgram) : m_qstrProgram(std::move(_qstrProgram)) {}

    bool Int(const QString& _qstrOption, const QString& _qstrValue, int _iMin, int _iMax, int& _iOut);
    bool Real(const QString& _qstrOption, const QString& _qstrValue, double _dMin, double _dMax,
              double& _dOut);
    bool Choice(const QString& _qstrOption, const QString& _qstrValue, const QStringList& _qlistAllowed);
    bool Mount(const QString& _qstrOption, const QString& _qstrValue, int& _iOut);
    // One of RendererChoices(), then set as RENDERER_VARIABLE for the engine that will be loaded.
    bool Renderer(const QString& _qstrOption, const QString& _qstrValue);
    // Seconds, MIN_TIMEOUT_S to MAX_TIMEOUT_S, into milliseconds.
    bool Timeout(const QString& _qstrOption, const QString& _qstrValue, int& _iMs);
    // WxH with each side MIN_SIDE to MAX_SIDE; a side under USUAL_MIN_SIDE is accepted and said.
    bool Size(const QString& _qstrOption, const QString& _qstrValue, int& _iWidth, int& _iHeight);
    // Records a refusal of anything else (an unknown option, a missing value).
    bool Refuse(const QString& _qstrMessage);
    bool MissingValue(const QString& _qstrOption, const QString& _qstrWhat);
    bool Unknown(const QString& _qstrOption);

    // "PROGRAM: MESSAGE", one line, for standard error.
    QString Error() const { return m_qstrError; }
    // Values accepted but worth a word ("PROGRAM: note: ..."), one line each.
    const QStringList& Notes() const { return m_qlistNotes; }
    // Prints the notes on standard error.
    void PrintNotes() const;

private:
    QString m_qstrProgram;
    QString m_qstrError;
    QStringList m_qlistNotes;
};

} // namespace cmdline

#endif // FISHPLAYER_COMMAND_LINE_H
