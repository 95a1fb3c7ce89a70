// The viewer's command line and the options each camera plays with.
#ifndef FISHVIEWER_VIEWER_OPTIONS_H
#define FISHVIEWER_VIEWER_OPTIONS_H

#include "CommandLine.h"

#include <MediaSource.h>

#include <QString>
#include <QStringList>

namespace fishviewer {

// PTZ views a camera shows at most (--views ptzN).
constexpr int MAX_PTZ_VIEWS = 4;

struct Options {
    QString m_qstrVideo = QStringLiteral("build/samples/fisheye_1920.h264");
    QStringList m_qlistInputs; // the inputs given, one camera each
    int m_iMount = cmdline::MOUNT_CEILING;
    QStringList m_qlistViews = {QStringLiteral("source"), QStringLiteral("fisheye"), QStringLiteral("360"),
                                QStringLiteral("180"),    QStringLiteral("lat"),     QStringLiteral("ptz4")};
    int m_iWidth = 0; // --size: the stream header's size instead of the stream's own
    int m_iHeight = 0;
    fishsource::RtspTransport m_eTransport = fishsource::RtspTransport::Tcp;
    int m_iTimeoutMs = fishsource::ReaderSettings().m_iTimeoutMs; // --timeout
    QString m_qstrSelfTest;
    bool m_blVerbose = false;    // Qt's log (the library's lines included) on standard error
    bool m_blMountGiven = false; // otherwise the camera's last mounting and views
    bool m_blViewsGiven = false;
};

// Reads the command line (the program's name left out) into _tOptions; a refusal is written to
// standard error.
cmdline::ParseResult ParseOptions(const QStringList& _qlistArgs, Options& _tOptions);
// The --help text, on standard output.
void Usage();

// The camera's settings: QSettings' "fishplayer/fishviewer" (on Linux
// ~/.config/fishplayer/fishviewer.conf), a group per input.
QString SettingsGroup(const QString& _qstrInput);
// The options of the camera playing _qstrInput: what the command line does not say comes from
// this camera's last session.
Options CameraOptions(Options _tOptions, const QString& _qstrInput);

} // namespace fishviewer

#endif // FISHVIEWER_VIEWER_OPTIONS_H
