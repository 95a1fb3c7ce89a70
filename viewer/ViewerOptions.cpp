// The viewer's command line; see ViewerOptions.h.
#include "ViewerOptions.h"

#include "Overlay.h"

#include <QMap>
#include <QSettings>

#include <cstdio>

namespace fishviewer {

namespace {

// The views --views may name, in the order the grid shows them.
const QStringList& ViewNames() {
    static const QStringList s_qlist = {QStringLiteral("source"), QStringLiteral("fisheye"),
                                        QStringLiteral("360"), QStringLiteral("180"), QStringLiteral("lat")};
    return s_qlist;
}

QString ViewChoices() {
    return QStringLiteral("a comma-separated list of %1 and ptzN (N 1 to %2), each once")
        .arg(ViewNames().join(QStringLiteral(", ")))
        .arg(MAX_PTZ_VIEWS);
}

bool ParseViews(cmdline::Parser& _tParser, const QString& _qstrValue, QStringList& _qlistViews) {
    const QStringList qlistViews = _qstrValue.split(QLatin1Char(','));
    bool blPtz = false;
    for (int i = 0; i < qlistViews.size(); ++i) {
        const QString& qstrView = qlistViews[i];
        const bool blIsPtz = qstrView.startsWith(QLatin1String("ptz"));
        bool blOk = ViewNames().contains(qstrView);
        if (blIsPtz) {
            const int iCount = qstrView.mid(3).toInt(&blOk);
            blOk = blOk && iCount >= 1 && iCount <= MAX_PTZ_VIEWS && !blPtz;
            blPtz = true;
        }
        if (!blOk || qlistViews.indexOf(qstrView) != i)
            return _tParser.Refuse(
                QStringLiteral("--views '%1' refused at '%2': %3").arg(_qstrValue, qstrView, ViewChoices()));
    }
    _qlistViews = qlistViews;
    return true;
}

} // namespace

void Usage() {
    std::printf(
        "usage: fishviewer [INPUT...] [--mount N] [--views LIST] [--size WxH] [--transport tcp|udp]\n"
        "                  [--timeout S] [--renderer gl|cpu|auto] [--verbose] [--self-test DIR] [--help]\n"
        "  INPUT          fisheye video file or URL: rtsp://, rtsps://, http(s)://, udp://, rtp://,\n"
        "                 MP4, MKV, MOV, TS or raw H.264/H.265/MJPEG (default\n"
        "                 build/samples/fisheye_1920.h264); files play in a loop; up to %d\n"
        "                 inputs play at once, a camera each, in a grid\n"
        "  --mount N      mounting mode: %s (default 2)\n"
        "  --views LIST   %s\n"
        "                 (default source,fisheye,360,180,lat,ptz4)\n"
        "  --size WxH     picture size for the stream header, each side 16 to 16384\n"
        "                 (default: the stream's own)\n"
        "%s"
        "  --verbose      show the library's and Qt's log lines on standard error\n"
        "  --self-test DIR  play a while, drag and zoom PTZ view 0, write screenshots into DIR, quit\n"
        "  --help, -h     this text\n",
        MAX_CAMERAS, qPrintable(cmdline::MountChoices()), qPrintable(ViewChoices()),
        cmdline::SHARED_OPTIONS_USAGE);
}

cmdline::ParseResult ParseOptions(const QStringList& _qlistArgs, Options& _tOptions) {
    cmdline::Parser tParser(QStringLiteral("fishviewer"));
    const QMap<QString, QString> qmapValued = {
        {QStringLiteral("--mount"), cmdline::MountChoices()},
        {QStringLiteral("--views"), ViewChoices()},
        {QStringLiteral("--self-test"), QStringLiteral("a folder")},
        {QStringLiteral("--transport"), QStringLiteral("tcp or udp")},
        {QStringLiteral("--size"), QStringLiteral("WIDTHxHEIGHT")},
        {QStringLiteral("--timeout"), cmdline::TimeoutChoices()},
        {QStringLiteral("--renderer"), cmdline::RendererChoicesText()}};
    for (int i = 0; i < _qlistArgs.size(); ++i) {
        const QString& qstrArg = _qlistArgs[i];
        if (cmdline::IsHelp(qstrArg))
            return cmdline::ParseResult::Help;
        bool blOk = true;
        if (qmapValued.contains(qstrArg) && i + 1 >= _qlistArgs.size())
            blOk = tParser.MissingValue(qstrArg, qmapValued.value(qstrArg));
        else if (qstrArg == QLatin1String("--mount"))
            blOk = _tOptions.m_blMountGiven = tParser.Mount(qstrArg, _qlistArgs[++i], _tOptions.m_iMount);
        else if (qstrArg == QLatin1String("--views"))
            blOk = _tOptions.m_blViewsGiven = ParseViews(tParser, _qlistArgs[++i], _tOptions.m_qlistViews);
        else if (qstrArg == QLatin1String("--self-test"))
            _tOptions.m_qstrSelfTest = _qlistArgs[++i];
        else if (qstrArg == QLatin1String("--verbose"))
            _tOptions.m_blVerbose = true;
        else if (qstrArg == QLatin1String("--transport")) {
            const QString qstrTransport = _qlistArgs[++i];
            blOk = tParser.Choice(qstrArg, qstrTransport, {QStringLiteral("tcp"), QStringLiteral("udp")});
            _tOptions.m_eTransport = qstrTransport == QLatin1String("udp") ? fishsource::RtspTransport::Udp
                                                                           : fishsource::RtspTransport::Tcp;
        } else if (qstrArg == QLatin1String("--renderer"))
            blOk = tParser.Renderer(qstrArg, _qlistArgs[++i]);
        else if (qstrArg == QLatin1String("--timeout"))
            blOk = tParser.Timeout(qstrArg, _qlistArgs[++i], _tOptions.m_iTimeoutMs);
        else if (qstrArg == QLatin1String("--size"))
            blOk = tParser.Size(qstrArg, _qlistArgs[++i], _tOptions.m_iWidth, _tOptions.m_iHeight);
        else if (qstrArg.startsWith(QLatin1Char('-')) && qstrArg.size() > 1)
            blOk = tParser.Unknown(qstrArg);
        else if (_tOptions.m_qlistInputs.size() == MAX_CAMERAS)
            blOk = tParser.Refuse(
                QStringLiteral("input '%1' refused: the viewer shows at most %2 cameras at once")
                    .arg(qstrArg)
                    .arg(MAX_CAMERAS));
        else
            _tOptions.m_qlistInputs.append(qstrArg);
        if (!blOk) {
            std::fprintf(stderr, "%s\n", qPrintable(tParser.Error()));
            return cmdline::ParseResult::Refused;
        }
    }
    tParser.PrintNotes();
    return cmdline::ParseResult::Run;
}

QString SettingsGroup(const QString& _qstrInput) {
    return QStringLiteral("camera-") + QString::fromLatin1(_qstrInput.toUtf8().toPercentEncoding());
}

Options CameraOptions(Options _tOptions, const QString& _qstrInput) {
    _tOptions.m_qstrVideo = _qstrInput;
    QSettings qsettings;
    qsettings.beginGroup(SettingsGroup(_qstrInput));
    if (!_tOptions.m_blMountGiven)
        _tOptions.m_iMount = qsettings.value(QStringLiteral("mount"), _tOptions.m_iMount).toInt();
    if (!_tOptions.m_blViewsGiven)
        _tOptions.m_qlistViews =
            qsettings.value(QStringLiteral("views"), _tOptions.m_qlistViews).toStringList();
    return _tOptions;
}

} // namespace fishviewer
