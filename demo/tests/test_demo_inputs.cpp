// The demo on every kind of input a person gives it, on the open engine and algorithm: files in
// containers, live streams from real servers on 127.0.0.1 (RTSP over TCP and UDP, MPEG-TS over
// UDP, MJPEG over HTTP), a server that goes away and comes back, a picture size that changes, and
// bad input, which must fail with one clear line and a non-zero exit, fast.
#include "DemoImage.h"
#include "DemoSupport.h"
#include "Loopback.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <utility>

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

// Every wait of these tests ends by this time at the latest.
constexpr int PROCESS_LIMIT_MS = 60000;
// Bad input must fail within this.
constexpr double BAD_INPUT_LIMIT_S = 20.0;

const char* const PTZ_VIEWS[] = {"ptz0", "ptz1", "ptz2", "ptz3"};

struct DemoRun {
    int m_iExitCode = -1;
    std::string m_strOut;
    std::string m_strErr;
    double m_dSeconds = 0;
};

// True once a TCP socket listens on 127.0.0.1:_iPort (read from /proc, so that nothing connects).
bool Listening(int _iPort) {
    QFile qFile(QStringLiteral("/proc/net/tcp"));
    if (!qFile.open(QIODevice::ReadOnly))
        return false;
    const QByteArray qbaWanted =
        QStringLiteral("0100007F:%1").arg(_iPort, 4, 16, QLatin1Char('0')).toUpper().toLatin1();
    for (const QByteArray& qbaLine : qFile.readAll().split('\n')) {
        const QList<QByteArray> qlistFields = qbaLine.simplified().split(' ');
        if (qlistFields.size() > 3 && qlistFields[1] == qbaWanted && qlistFields[3] == "0A")
            return true;
    }
    return false;
}

bool Ffmpeg(const QStringList& _qlistArgs, std::string* _pstrError) {
    QProcess qFfmpeg;
    qFfmpeg.start(QStringLiteral("ffmpeg"),
                  QStringList{QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"),
                              QStringLiteral("error"), QStringLiteral("-y")} +
                      _qlistArgs);
    if (!qFfmpeg.waitForFinished(PROCESS_LIMIT_MS)) {
        *_pstrError = "ffmpeg (scripts/setup-debian.sh installs it) did not run";
        return false;
    }
    *_pstrError = qFfmpeg.readAllStandardError().toStdString();
    return qFfmpeg.exitCode() == 0;
}

// A fisheye clip of a test scene: a 200 x 200 fisheye picture in a _iWidth x _iHeight frame.
QStringList FisheyeClip(int _iWidth, int _iHeight, double _dSeconds) {
    return {QStringLiteral("-f"),
            QStringLiteral("lavfi"),
            QStringLiteral("-i"),
            QStringLiteral("testsrc=size=400x200:rate=25:duration=%3,drawgrid=w=34:h=34:t=2:c=white,"
                           "v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=200:h=200,"
                           "pad=%1:%2:(ow-iw)/2:(oh-ih)/2:black,format=yuv420p")
                .arg(_iWidth)
                .arg(_iHeight)
                .arg(_dSeconds),
            QStringLiteral("-c:v"),
            QStringLiteral("libx264"),
            QStringLiteral("-preset"),
            QStringLiteral("veryfast"),
            QStringLiteral("-g"),
            QStringLiteral("25"),
            QStringLiteral("-bf"),
            QStringLiteral("0")};
}

class DemoInputs : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_pDir = new QTemporaryDir();
        ASSERT_TRUE(s_pDir->isValid());
        std::string strError;
        ASSERT_TRUE(Ffmpeg(FisheyeClip(288, 224, 1.2)
                               << QStringLiteral("-f") << QStringLiteral("h264") << Path("clip.h264"),
                           &strError))
            << strError;
        // Served live: long enough for every live test.
        ASSERT_TRUE(Ffmpeg(FisheyeClip(288, 224, 30) << Path("live.mp4"), &strError)) << strError;
    }

    static void TearDownTestSuite() {
        delete s_pDir;
        s_pDir = nullptr;
    }

    static QString Path(const char* _pcName) { return s_pDir->filePath(QLatin1String(_pcName)); }

    // Runs the demo to its end (bounded) with small views into a fresh folder.
    static DemoRun Demo(const QString& _qstrInput, const QStringList& _qlistOptions = {}) {
        static int s_iRun = 0;
        const QString qstrOut = s_pDir->filePath(QStringLiteral("out%1").arg(++s_iRun));
        QProcess qDemo;
        QElapsedTimer qtimer;
        qtimer.start();
        qDemo.start(QStringLiteral(FISHPLAYER_DEMO_PATH),
                    QStringList{_qstrInput, QStringLiteral("--out"), qstrOut, QStringLiteral("--scale"),
                                QStringLiteral("0.3"), QStringLiteral("--sheet-width"),
                                QStringLiteral("640")} +
                        _qlistOptions);
        DemoRun tRun;
        if (!qDemo.waitForFinished(PROCESS_LIMIT_MS)) {
            qDemo.kill();
            qDemo.waitForFinished(5000);
        }
        tRun.m_dSeconds = qtimer.elapsed() / 1000.0;
        tRun.m_iExitCode = qDemo.exitStatus() == QProcess::NormalExit ? qDemo.exitCode() : -1;
        tRun.m_strOut = qDemo.readAllStandardOutput().toStdString() + "\nout: " + qstrOut.toStdString();
        tRun.m_strErr = qDemo.readAllStandardError().toStdString();
        s_qstrLastOut = qstrOut;
        return tRun;
    }

    // The last step's PTZ views each show a picture (not dark, not one flat colour).
    static void ExpectPtzPictures(const QString& _qstrOut) {
        for (const char* pcView : PTZ_VIEWS) {
            const DemoImage tPicture = DemoImage::LoadPng(
                QStringLiteral("%1/05_diagonals/%2.png").arg(_qstrOut, QLatin1String(pcView)));
            ASSERT_FALSE(tPicture.IsNull()) << pcView;
            int iLit = 0;
            for (int y = 0; y < tPicture.Height(); ++y)
                for (int x = 0; x < tPicture.Width(); ++x) {
                    const DemoColor tColor = tPicture.Pixel(x, y);
                    iLit += tColor.m_ucR + tColor.m_ucG + tColor.m_ucB > 3 * 24 ? 1 : 0;
                }
            EXPECT_GT(iLit, tPicture.Width() * tPicture.Height() / 5) << pcView << " is mostly dark";
        }
    }

    // A bad input: exit 1, exactly the expected line on standard error, within the limit.
    static void ExpectFailure(const QString& _qstrInput, const std::string& _strLine,
                              const QStringList& _qlistOptions = {}) {
        const DemoRun tRun = Demo(_qstrInput, _qlistOptions);
        EXPECT_EQ(tRun.m_iExitCode, 1) << tRun.m_strOut << tRun.m_strErr;
        EXPECT_NE(tRun.m_strErr.find("fishplayer_demo: " + _strLine + "\n"), std::string::npos)
            << tRun.m_strErr;
        EXPECT_LT(tRun.m_dSeconds, BAD_INPUT_LIMIT_S);
        std::printf("time to fail: %.2f s for %s\n", tRun.m_dSeconds, qPrintable(_qstrInput));
    }

    static QTemporaryDir* s_pDir;
    static QString s_qstrLastOut;
};

QTemporaryDir* DemoInputs::s_pDir = nullptr;
QString DemoInputs::s_qstrLastOut;

// A process of the test (a server, a sender), killed when the test ends.
class Child {
public:
    Child(const QString& _qstrProgram, const QStringList& _qlistArgs) {
        m_qProcess.setProcessChannelMode(QProcess::MergedChannels);
        m_qProcess.start(_qstrProgram, _qlistArgs);
        m_qProcess.waitForStarted(10000);
    }
    ~Child() { Kill(); }
    void Kill() {
        if (m_qProcess.state() != QProcess::NotRunning) {
            m_qProcess.kill();
            m_qProcess.waitForFinished(10000);
        }
    }
    // Waits (bounded) for a line starting with _strStart; the line, or "".
    std::string WaitForLine(const std::string& _strStart, int _iMs) {
        QElapsedTimer qtimer;
        qtimer.start();
        while (qtimer.elapsed() < _iMs) {
            if (m_qProcess.canReadLine()) {
                const std::string strLine = m_qProcess.readLine().trimmed().toStdString();
                m_strSeen += strLine + "\n";
                if (strLine.compare(0, _strStart.size(), _strStart) == 0)
                    return strLine;
                continue;
            }
            if (m_qProcess.state() == QProcess::NotRunning)
                break;
            m_qProcess.waitForReadyRead(100);
        }
        m_strSeen += m_qProcess.readAll().toStdString();
        return "";
    }
    const std::string& Seen() const { return m_strSeen; }
    QProcess& Process() { return m_qProcess; }

private:
    QProcess m_qProcess;
    std::string m_strSeen;
};

// The RTSP server of source/tests, on _iPort (0: a free one), serving _qstrCodec video. Its URL, or "" when
// it did not start.
std::string StartRtsp(std::unique_ptr<Child>& _pServer, const QString& _qstrFile, int _iPort,
                      const QString& _qstrCodec = QStringLiteral("h264")) {
    _pServer.reset(new Child(QStringLiteral(FISHPLAYER_SYSTEM_PYTHON),
                             {QStringLiteral(FISHPLAYER_RTSP_SERVER), _qstrFile, QStringLiteral("--port"),
                              QString::number(_iPort), QStringLiteral("--codec"), _qstrCodec}));
    const std::string strLine = _pServer->WaitForLine("ready ", 20000);
    return strLine.empty() ? std::string() : strLine.substr(6);
}

TEST_F(DemoInputs, PlaysMp4MkvAndTsFiles) {
    // Each with a renderer of its own: the views' pictures are the same whoever draws them.
    const std::pair<const char*, const char*> aRuns[] = {
        {"clip.mp4", "cpu"}, {"clip.mkv", FISHPLAYER_DEMO_GL_RUN ? "gl" : "cpu"}, {"clip.ts", "auto"}};
    for (const auto& [pcName, pcRenderer] : aRuns) {
        std::string strError;
        ASSERT_TRUE(Ffmpeg({QStringLiteral("-i"), Path("clip.h264"), QStringLiteral("-c"),
                            QStringLiteral("copy"), Path(pcName)},
                           &strError))
            << strError;
        const DemoRun tRun = Demo(Path(pcName), {QStringLiteral("--fast"), QStringLiteral("--renderer"),
                                                 QString::fromLatin1(pcRenderer)});
        EXPECT_EQ(tRun.m_iExitCode, 0) << tRun.m_strOut << tRun.m_strErr;
        EXPECT_NE(tRun.m_strOut.find("h264, 288 x 224, played as fast as it decodes)"), std::string::npos)
            << tRun.m_strOut;
        if (std::string(pcRenderer) != "auto")
            EXPECT_NE(tRun.m_strOut.find(std::string("views drawn by the ") +
                                         (std::string(pcRenderer) == "gl" ? "GL" : "CPU") + " renderer\n"),
                      std::string::npos)
                << tRun.m_strOut;
        ExpectPtzPictures(s_qstrLastOut);
    }
}

TEST_F(DemoInputs, PlaysAFileAtItsTimestamps) {
    // 30 pictures at 25 a second: 1.2 s of playing at the least.
    const DemoRun tRun = Demo(Path("clip.h264"));
    EXPECT_EQ(tRun.m_iExitCode, 0) << tRun.m_strOut << tRun.m_strErr;
    EXPECT_NE(tRun.m_strOut.find("played at its timestamps)"), std::string::npos) << tRun.m_strOut;
    EXPECT_GE(tRun.m_dSeconds, 1.1);
    EXPECT_NE(tRun.m_strOut.find("latency from packet arrival to picture shown: median "), std::string::npos);
}

TEST_F(DemoInputs, TakesUpAPictureSizeChangeMidStream) {
    std::string strError;
    ASSERT_TRUE(Ffmpeg(FisheyeClip(384, 288, 1.2)
                           << QStringLiteral("-f") << QStringLiteral("h264") << Path("wide.h264"),
                       &strError))
        << strError;
    QFile qJoined(Path("joined.h264"));
    QFile qFirst(Path("clip.h264"));
    QFile qSecond(Path("wide.h264"));
    ASSERT_TRUE(qJoined.open(QIODevice::WriteOnly) && qFirst.open(QIODevice::ReadOnly) &&
                qSecond.open(QIODevice::ReadOnly));
    qJoined.write(qFirst.readAll());
    qJoined.write(qSecond.readAll());
    qJoined.close();
    const DemoRun tRun = Demo(Path("joined.h264"), {QStringLiteral("--fast")});
    EXPECT_EQ(tRun.m_iExitCode, 0) << tRun.m_strOut << tRun.m_strErr;
    EXPECT_NE(tRun.m_strOut.find("picture size changed from 288 x 224 to 384 x 288\n"), std::string::npos)
        << tRun.m_strOut;
    // The views carry on, on the new pictures.
    ExpectPtzPictures(s_qstrLastOut);
}

TEST_F(DemoInputs, BadFilesFailWithOneClearLine) {
    QFile qRandom(Path("random.bin"));
    ASSERT_TRUE(qRandom.open(QIODevice::WriteOnly));
    qRandom.write(NoiseBytes(3 * 1024 * 1024, 12345));
    qRandom.close();
    QFile(Path("empty.h264")).open(QIODevice::WriteOnly);
    std::string strError;
    ASSERT_TRUE(Ffmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                        QStringLiteral("testsrc=size=64x64"), QStringLiteral("-frames:v"),
                        QStringLiteral("1"), Path("picture.png")},
                       &strError))
        << strError;
    // Clips cut before their first picture: raw H.264 after its parameter sets, MP4 before its index.
    QFile qClip(Path("clip.h264"));
    ASSERT_TRUE(qClip.open(QIODevice::ReadOnly));
    const QByteArray qbaClip = qClip.readAll();
    const int iSlice = qbaClip.indexOf(QByteArray("\x00\x00\x01\x65", 4));
    ASSERT_GT(iSlice, 0);
    QFile qCut(Path("cut.h264"));
    ASSERT_TRUE(qCut.open(QIODevice::WriteOnly));
    qCut.write(qbaClip.left(iSlice));
    qCut.close();
    ASSERT_TRUE(Ffmpeg({QStringLiteral("-i"), Path("clip.h264"), QStringLiteral("-c"), QStringLiteral("copy"),
                        Path("whole.mp4")},
                       &strError))
        << strError;
    QFile qMp4(Path("whole.mp4"));
    QFile qCutMp4(Path("cut.mp4"));
    ASSERT_TRUE(qMp4.open(QIODevice::ReadOnly) && qCutMp4.open(QIODevice::WriteOnly));
    qCutMp4.write(qMp4.read(qMp4.size() / 2));
    qCutMp4.close();

    const std::string strPath = s_pDir->path().toStdString() + "/";
    ExpectFailure(Path("random.bin"),
                  "cannot open " + strPath +
                      "random.bin: no video format found in its 3.0 MB (Invalid data found "
                      "when processing input)");
    ExpectFailure(Path("picture.png"),
                  strPath + "picture.png holds png video (png_pipe): not H.264, H.265 or MJPEG");
    ExpectFailure(Path("empty.h264"), strPath + "empty.h264 is empty");
    ASSERT_LT(iSlice, 1024); // the parameter sets of a small clip
    ExpectFailure(Path("cut.h264"), "cannot open " + strPath + "cut.h264: no video format found in its " +
                                        std::to_string(iSlice) +
                                        " bytes (Invalid data found when processing input)");
    ExpectFailure(Path("missing.mp4"), "cannot open " + strPath + "missing.mp4: No such file or directory");
}

TEST_F(DemoInputs, ACutMp4FailsWithItsSize) {
    // Written by the test above when run in order; made here again so that it runs alone too.
    std::string strError;
    ASSERT_TRUE(Ffmpeg({QStringLiteral("-i"), Path("clip.h264"), QStringLiteral("-c"), QStringLiteral("copy"),
                        Path("whole2.mp4")},
                       &strError))
        << strError;
    QFile qMp4(Path("whole2.mp4"));
    QFile qCut(Path("cut2.mp4"));
    ASSERT_TRUE(qMp4.open(QIODevice::ReadOnly) && qCut.open(QIODevice::WriteOnly));
    qCut.write(qMp4.read(3000));
    qCut.close();
    ExpectFailure(Path("cut2.mp4"), "cannot open " + Path("cut2.mp4").toStdString() +
                                        ": no video format found in its 2.9 KB (Invalid data found when "
                                        "processing input)");
}

TEST_F(DemoInputs, UnreachableUrlsFailWithinTheirTimeOut) {
    const int iTcp = loopback::FreePort(SOCK_STREAM);
    const int iUdp = loopback::FreePort(SOCK_DGRAM);
    ASSERT_GT(iTcp, 0);
    ASSERT_GT(iUdp, 0);
    const QString qstrRtsp = QStringLiteral("rtsp://127.0.0.1:%1/cam").arg(iTcp);
    ExpectFailure(qstrRtsp, "cannot open " + qstrRtsp.toStdString() + ": Connection refused");
    const QString qstrHttp = QStringLiteral("http://127.0.0.1:%1/cam.mjpg").arg(iTcp);
    ExpectFailure(qstrHttp, "cannot open " + qstrHttp.toStdString() + ": Connection refused");
    // Nobody sends: the time-out ends the wait.
    const QString qstrUdp = QStringLiteral("udp://127.0.0.1:%1").arg(iUdp);
    ExpectFailure(qstrUdp, "cannot open " + qstrUdp.toStdString() + ": no answer within 1.5 s",
                  {QStringLiteral("--timeout"), QStringLiteral("1.5")});
}

TEST_F(DemoInputs, PlaysRtspOverTcpAndUdp) {
    if (FISHPLAYER_RTSP_MISSING[0] != '\0')
        GTEST_SKIP() << FISHPLAYER_RTSP_MISSING;
    std::unique_ptr<Child> pServer;
    const std::string strUrl = StartRtsp(pServer, Path("live.mp4"), 0);
    ASSERT_FALSE(strUrl.empty()) << "the RTSP server did not start: " << pServer->Seen();
    for (const char* pcTransport : {"tcp", "udp"}) {
        const DemoRun tRun =
            Demo(QString::fromStdString(strUrl), {QStringLiteral("--transport"), QLatin1String(pcTransport),
                                                  QStringLiteral("--step-seconds"), QStringLiteral("0.4")});
        EXPECT_EQ(tRun.m_iExitCode, 0) << pcTransport << "\n" << tRun.m_strOut << tRun.m_strErr;
        EXPECT_NE(tRun.m_strOut.find("(rtsp, h264, 288 x 224, live)"), std::string::npos) << tRun.m_strOut;
        ExpectPtzPictures(s_qstrLastOut);
        const size_t uLatency = tRun.m_strOut.find("latency from packet arrival to picture shown: ");
        ASSERT_NE(uLatency, std::string::npos);
        std::printf("RTSP over %s: %s\n", pcTransport,
                    tRun.m_strOut.substr(uLatency, tRun.m_strOut.find('\n', uLatency) - uLatency).c_str());
    }
}

TEST_F(DemoInputs, PicturesResumeAfterTheRtspServerRestarts) {
    if (FISHPLAYER_RTSP_MISSING[0] != '\0')
        GTEST_SKIP() << FISHPLAYER_RTSP_MISSING;
    std::unique_ptr<Child> pServer;
    const std::string strUrl = StartRtsp(pServer, Path("live.mp4"), 0);
    ASSERT_FALSE(strUrl.empty()) << "the RTSP server did not start: " << pServer->Seen();
    const int iPort = std::stoi(strUrl.substr(strUrl.rfind(':') + 1));
    Child tDemo(QStringLiteral(FISHPLAYER_DEMO_PATH),
                {QString::fromStdString(strUrl), QStringLiteral("--out"),
                 s_pDir->filePath(QStringLiteral("restart")), QStringLiteral("--scale"),
                 QStringLiteral("0.3"), QStringLiteral("--step-seconds"), QStringLiteral("2.5")});
    ASSERT_FALSE(tDemo.WaitForLine("[1/5] start", 20000).empty()) << tDemo.Seen();
    pServer->Kill();
    ASSERT_FALSE(tDemo.WaitForLine("reconnecting to " + strUrl + " in 1 s: lost " + strUrl, 10000).empty())
        << tDemo.Seen();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    QElapsedTimer qtimer;
    qtimer.start();
    ASSERT_FALSE(StartRtsp(pServer, Path("live.mp4"), iPort).empty()) << pServer->Seen();
    ASSERT_FALSE(tDemo.WaitForLine("reconnected to " + strUrl + " (1 reconnection)", 10000).empty())
        << tDemo.Seen();
    const double dReconnect = qtimer.elapsed() / 1000.0;
    EXPECT_LT(dReconnect, 10.0);
    std::printf("pictures resumed %.2f s after the server restarted\n", dReconnect);
    ASSERT_TRUE(tDemo.Process().waitForFinished(PROCESS_LIMIT_MS));
    EXPECT_EQ(tDemo.Process().exitCode(), 0) << tDemo.Seen();
    ExpectPtzPictures(s_pDir->filePath(QStringLiteral("restart")));
}

// A camera that comes back from a reconnection with another codec (and picture size): the same
// player takes it up, the demo says so, and the PTZ views show the new stream's pictures.
TEST_F(DemoInputs, TakesUpACodecChangeAfterTheRtspServerRestarts) {
    if (FISHPLAYER_RTSP_MISSING[0] != '\0')
        GTEST_SKIP() << FISHPLAYER_RTSP_MISSING;
    std::string strError;
    QStringList qlistHevc = FisheyeClip(320, 240, 15);
    qlistHevc[qlistHevc.indexOf(QStringLiteral("libx264"))] = QStringLiteral("libx265");
    qlistHevc[qlistHevc.indexOf(QStringLiteral("veryfast"))] = QStringLiteral("ultrafast");
    ASSERT_TRUE(Ffmpeg(qlistHevc << QStringLiteral("-x265-params") << QStringLiteral("log-level=error")
                                 << Path("live265.mp4"),
                       &strError))
        << strError;
    std::unique_ptr<Child> pServer;
    const std::string strUrl = StartRtsp(pServer, Path("live.mp4"), 0);
    ASSERT_FALSE(strUrl.empty()) << "the RTSP server did not start: " << pServer->Seen();
    const int iPort = std::stoi(strUrl.substr(strUrl.rfind(':') + 1));
    const QString qstrOut = s_pDir->filePath(QStringLiteral("codec"));
    Child tDemo(QStringLiteral(FISHPLAYER_DEMO_PATH),
                {QString::fromStdString(strUrl), QStringLiteral("--out"), qstrOut, QStringLiteral("--scale"),
                 QStringLiteral("0.3"), QStringLiteral("--step-seconds"), QStringLiteral("2.5")});
    ASSERT_FALSE(tDemo.WaitForLine("[1/5] start", 20000).empty()) << tDemo.Seen();
    pServer->Kill();
    ASSERT_FALSE(tDemo.WaitForLine("reconnecting to " + strUrl, 10000).empty()) << tDemo.Seen();
    QElapsedTimer qtimer;
    qtimer.start();
    ASSERT_FALSE(StartRtsp(pServer, Path("live265.mp4"), iPort, QStringLiteral("h265")).empty())
        << pServer->Seen();
    ASSERT_FALSE(tDemo.WaitForLine("codec changed from H.264 to H.265", 15000).empty()) << tDemo.Seen();
    std::printf("H.265 pictures shown %.2f s after the server restarted\n", qtimer.elapsed() / 1000.0);
    // Printed just before, from the same look at the player: its pictures are the new stream's.
    EXPECT_NE(tDemo.Seen().find("picture size changed from 288 x 224 to 320 x 240\n"), std::string::npos)
        << tDemo.Seen();
    ASSERT_TRUE(tDemo.Process().waitForFinished(PROCESS_LIMIT_MS));
    EXPECT_EQ(tDemo.Process().exitCode(), 0) << tDemo.Seen();
    ExpectPtzPictures(qstrOut);
}

// Forwards UDP datagrams from 127.0.0.1:InPort() to 127.0.0.1:_iTo, dropping every _iDropEvery-th
// (0: none), on a thread of its own until destroyed.
class UdpRelay {
public:
    UdpRelay(int _iTo, int _iDropEvery) : m_iDropEvery(_iDropEvery) {
        m_iSocket = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in tAddress{};
        tAddress.sin_family = AF_INET;
        tAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t uLength = sizeof(tAddress);
        if (m_iSocket < 0 || bind(m_iSocket, reinterpret_cast<sockaddr*>(&tAddress), sizeof(tAddress)) != 0 ||
            getsockname(m_iSocket, reinterpret_cast<sockaddr*>(&tAddress), &uLength) != 0)
            return;
        m_iInPort = ntohs(tAddress.sin_port);
        timeval tTimeout{0, 100 * 1000}; // the stop flag is looked at every 100 ms
        setsockopt(m_iSocket, SOL_SOCKET, SO_RCVTIMEO, &tTimeout, sizeof(tTimeout));
        m_tTo.sin_family = AF_INET;
        m_tTo.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_tTo.sin_port = htons(static_cast<std::uint16_t>(_iTo));
        m_thread = std::thread([this] { Run(); });
    }
    ~UdpRelay() {
        m_blStop = true;
        if (m_thread.joinable())
            m_thread.join();
        if (m_iSocket >= 0)
            close(m_iSocket);
    }
    int InPort() const { return m_iInPort; }
    long long Dropped() const { return m_llDropped.load(); }
    long long Forwarded() const { return m_llForwarded.load(); }

private:
    void Run() {
        std::vector<char> vecBuffer(65536);
        long long llCount = 0;
        while (!m_blStop.load()) {
            const ssize_t iSize = recv(m_iSocket, vecBuffer.data(), vecBuffer.size(), 0);
            if (iSize <= 0)
                continue;
            if (m_iDropEvery > 0 && ++llCount % m_iDropEvery == 0) {
                ++m_llDropped;
                continue;
            }
            sendto(m_iSocket, vecBuffer.data(), static_cast<size_t>(iSize), 0,
                   reinterpret_cast<sockaddr*>(&m_tTo), sizeof(m_tTo));
            ++m_llForwarded;
        }
    }

    const int m_iDropEvery;
    int m_iSocket = -1;
    int m_iInPort = 0;
    sockaddr_in m_tTo{};
    std::atomic<bool> m_blStop{false};
    std::atomic<long long> m_llDropped{0};
    std::atomic<long long> m_llForwarded{0};
    std::thread m_thread;
};

// The demo on MPEG-TS over UDP from ffmpeg, through a relay that drops every _iDropEvery-th
// datagram (0: none). Its standard output.
std::string PlayMpegTsOverUdp(const QString& _qstrClip, const QString& _qstrOut, int _iDropEvery,
                              long long* _pllDropped) {
    const int iPort = loopback::FreePort(SOCK_DGRAM);
    EXPECT_GT(iPort, 0);
    UdpRelay tRelay(iPort, _iDropEvery);
    EXPECT_GT(tRelay.InPort(), 0);
    const QString qstrUrl = QStringLiteral("udp://127.0.0.1:%1").arg(iPort);
    // The demo listens first; the sender starts while it waits for data.
    QProcess qDemo;
    qDemo.start(QStringLiteral(FISHPLAYER_DEMO_PATH),
                {qstrUrl, QStringLiteral("--out"), _qstrOut, QStringLiteral("--scale"), QStringLiteral("0.3"),
                 QStringLiteral("--step-seconds"), QStringLiteral("0.4")});
    EXPECT_TRUE(qDemo.waitForStarted(10000));
    Child tSender(QStringLiteral("ffmpeg"),
                  {QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"),
                   QStringLiteral("-re"), QStringLiteral("-i"), _qstrClip, QStringLiteral("-c"),
                   QStringLiteral("copy"), QStringLiteral("-f"), QStringLiteral("mpegts"),
                   QStringLiteral("udp://127.0.0.1:%1?pkt_size=1316").arg(tRelay.InPort())});
    if (!qDemo.waitForFinished(PROCESS_LIMIT_MS))
        qDemo.kill();
    const std::string strOut = qDemo.readAllStandardOutput().toStdString();
    EXPECT_EQ(qDemo.exitCode(), 0) << strOut << qDemo.readAllStandardError().toStdString();
    EXPECT_GT(tRelay.Forwarded(), 0);
    *_pllDropped = tRelay.Dropped();
    return strOut;
}

TEST_F(DemoInputs, PlaysMpegTsOverUdp) {
    long long llDropped = 0;
    const QString qstrOut = s_pDir->filePath(QStringLiteral("udp"));
    const std::string strOut = PlayMpegTsOverUdp(Path("live.mp4"), qstrOut, 0, &llDropped);
    EXPECT_NE(strOut.find("(mpegts, h264, 288 x 224, live)"), std::string::npos) << strOut;
    ExpectPtzPictures(qstrOut);
}

TEST_F(DemoInputs, KeepsPlayingMpegTsOverUdpThatLosesDatagrams) {
    // One datagram in 10 lost: corrupt pictures, which the decoder drops or conceals.
    long long llDropped = 0;
    const QString qstrOut = s_pDir->filePath(QStringLiteral("udp-loss"));
    const std::string strOut = PlayMpegTsOverUdp(Path("live.mp4"), qstrOut, 10, &llDropped);
    EXPECT_GE(llDropped, 5);
    EXPECT_EQ(strOut.find("reconnecting"), std::string::npos) << strOut;
    ExpectPtzPictures(qstrOut);
}

TEST_F(DemoInputs, PlaysMjpegOverHttp) {
    const int iPort = loopback::FreePort(SOCK_STREAM);
    ASSERT_GT(iPort, 0);
    const QString qstrUrl = QStringLiteral("http://127.0.0.1:%1/cam.mjpg").arg(iPort);
    Child tServer(QStringLiteral("ffmpeg"),
                  {QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"),
                   QStringLiteral("-re"), QStringLiteral("-i"), Path("live.mp4"), QStringLiteral("-c:v"),
                   QStringLiteral("mjpeg"), QStringLiteral("-q:v"), QStringLiteral("5"), QStringLiteral("-f"),
                   QStringLiteral("mpjpeg"), QStringLiteral("-listen"), QStringLiteral("1"), qstrUrl});
    QElapsedTimer qtimer;
    qtimer.start();
    while (!Listening(iPort) && qtimer.elapsed() < 10000)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_TRUE(Listening(iPort)) << "ffmpeg does not listen on " << iPort;
    const DemoRun tRun = Demo(qstrUrl, {QStringLiteral("--step-seconds"), QStringLiteral("0.4")});
    EXPECT_EQ(tRun.m_iExitCode, 0) << tRun.m_strOut << tRun.m_strErr;
    EXPECT_NE(tRun.m_strOut.find("(mpjpeg, mjpeg, 288 x 224, live)"), std::string::npos) << tRun.m_strOut;
    ExpectPtzPictures(s_qstrLastOut);
}

} // namespace
