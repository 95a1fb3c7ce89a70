#include "CommandLine.h"

#include <cstdio>

namespace cmdline {

const char* const SHARED_OPTIONS_USAGE =
    "  --transport T  RTSP transport: tcp or udp (default tcp)\n"
    "  --timeout S    a network source without data for S seconds (0.5 to 120) is\n"
    "                 reconnected, or fails when opening (default 5)\n"
    "  --renderer R   who draws the views: gl (OpenGL ES 3 through EGL), cpu, or auto: GL\n"
    "                 on a GPU, else the CPU (default: KORVANE_RENDERER, else auto)\n";

QString MountChoices() {
    return QStringLiteral("1 (wall), 2 (ceiling) or 3 (floor)");
}

QString TimeoutChoices() {
    return QStringLiteral("seconds, %1 to %2").arg(MIN_TIMEOUT_S).arg(MAX_TIMEOUT_S);
}

QString MountName(int _iMount) {
    switch (_iMount) {
    case MOUNT_WALL:
        return QStringLiteral("wall");
    case MOUNT_CEILING:
        return QStringLiteral("ceiling");
    case MOUNT_FLOOR:
        return QStringLiteral("floor");
    default:
        return QString();
    }
}

int ExitWithoutRunning(ParseResult _eResult, void (*_pfUsage)()) {
    switch (_eResult) {
    case ParseResult::Help:
        _pfUsage();
        return 0;
    case ParseResult::Refused:
        return EXIT_USAGE;
    case ParseResult::Run:
    default:
        return -1;
    }
}

bool IsHelp(const QString& _qstrArg) {
    return _qstrArg == QLatin1String("--help") || _qstrArg == QLatin1String("-h");
}

QStringList Arguments(int _iArgc, char** _ppcArgv) {
    QStringList qlistArgs;
    for (int i = 1; i < _iArgc; ++i)
        qlistArgs << QString::fromLocal8Bit(_ppcArgv[i]);
    return qlistArgs;
}

bool Parser::Refuse(const QString& _qstrMessage) {
    m_qstrError = QStringLiteral("%1: %2").arg(m_qstrProgram, _qstrMessage);
    return false;
}

bool Parser::MissingValue(const QString& _qstrOption, const QString& _qstrWhat) {
    return Refuse(QStringLiteral("%1 needs a value: %2").arg(_qstrOption, _qstrWhat));
}

bool Parser::Unknown(const QString& _qstrOption) {
    return Refuse(QStringLiteral("unknown option %1 (--help lists the options)").arg(_qstrOption));
}

bool Parser::Int(const QString& _qstrOption, const QString& _qstrValue, int _iMin, int _iMax, int& _iOut) {
    bool blOk = false;
    const int iValue = _qstrValue.toInt(&blOk);
    if (!blOk || iValue < _iMin || iValue > _iMax)
        return Refuse(QStringLiteral("%1 '%2' refused: a whole number from %3 to %4")
                          .arg(_qstrOption, _qstrValue)
                          .arg(_iMin)
                          .arg(_iMax));
    _iOut = iValue;
    return true;
}

bool Parser::Real(const QString& _qstrOption, const QString& _qstrValue, double _dMin, double _dMax,
                  double& _dOut) {
    bool blOk = false;
    const double dValue = _qstrValue.toDouble(&blOk);
    // NaN fails both comparisons: refused with the rest.
    if (!blOk || !(dValue >= _dMin && dValue <= _dMax))
        return Refuse(QStringLiteral("%1 '%2' refused: a number from %3 to %4")
                          .arg(_qstrOption, _qstrValue)
                          .arg(_dMin)
                          .arg(_dMax));
    _dOut = dValue;
    return true;
}

bool Parser::Choice(const QString& _qstrOption, const QString& _qstrValue, const QStringList& _qlistAllowed) {
    if (_qlistAllowed.contains(_qstrValue))
        return true;
    return Refuse(QStringLiteral("%1 '%2' refused: one of %3")
                      .arg(_qstrOption, _qstrValue, _qlistAllowed.join(QStringLiteral(", "))));
}

QStringList RendererChoices() {
    return {QStringLiteral("gl"), QStringLiteral("cpu"), QStringLiteral("auto")};
}

QString RendererChoicesText() {
    return QStringLiteral("one of ") + RendererChoices().join(QStringLiteral(", "));
}

bool Parser::Renderer(const QString& _qstrOption, const QString& _qstrValue) {
    if (!Choice(_qstrOption, _qstrValue, RendererChoices()))
        return false;
    qputenv(RENDERER_VARIABLE, _qstrValue.toUtf8());
    return true;
}

bool Parser::Mount(const QString& _qstrOption, const QString& _qstrValue, int& _iOut) {
    bool blOk = false;
    const int iValue = _qstrValue.toInt(&blOk);
    if (!blOk || MountName(iValue).isEmpty())
        return Refuse(QStringLiteral("%1 '%2' refused: %3").arg(_qstrOption, _qstrValue, MountChoices()));
    _iOut = iValue;
    return true;
}

bool Parser::Timeout(const QString& _qstrOption, const QString& _qstrValue, int& _iMs) {
    double dSeconds = 0;
    if (!Real(_qstrOption, _qstrValue, MIN_TIMEOUT_S, MAX_TIMEOUT_S, dSeconds))
        return false;
    _iMs = static_cast<int>(dSeconds * 1000);
    return true;
}

bool Parser::Size(const QString& _qstrOption, const QString& _qstrValue, int& _iWidth, int& _iHeight) {
    const QStringList qlistSides = _qstrValue.split(QLatin1Char('x'));
    bool blOkW = false;
    bool blOkH = false;
    const int iWidth = qlistSides.size() == 2 ? qlistSides[0].toInt(&blOkW) : 0;
    const int iHeight = qlistSides.size() == 2 ? qlistSides[1].toInt(&blOkH) : 0;
    if (!blOkW || !blOkH || iWidth < MIN_SIDE || iHeight < MIN_SIDE || iWidth > MAX_SIDE ||
        iHeight > MAX_SIDE)
        return Refuse(QStringLiteral("%1 '%2' refused: WIDTHxHEIGHT, each side from %3 to %4 pixels")
                          .arg(_qstrOption, _qstrValue)
                          .arg(MIN_SIDE)
                          .arg(MAX_SIDE));
    if (iWidth < USUAL_MIN_SIDE || iHeight < USUAL_MIN_SIDE)
        m_qlistNotes << QStringLiteral("%1: note: %2 %3 is unusually small: pictures this size look coarse")
                            .arg(m_qstrProgram, _qstrOption, _qstrValue);
    _iWidth = iWidth;
    _iHeight = iHeight;
    return true;
}

void Parser::PrintNotes() const {
    for (const QString& qstrNote : m_qlistNotes)
        std::fprintf(stderr, "%s\n", qPrintable(qstrNote));
}

} // namespace cmdline
