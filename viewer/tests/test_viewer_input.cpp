// The viewer driven with real X input (xdotool) on an X server of its own (Xvfb on a free
// display): a preset stored, the viewer restarted, the preset recalled shows the view again; the
// snapshot key writes a PNG of the view; a mounting change from the menu keeps the window's size
// and the PTZ view's place.
#include "DemoImage.h"
#include "DemoSupport.h"
#include "XServer.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

double Difference(const DemoImage& _tA, const DemoImage& _tB) {
    return DemoImage::Difference(_tA, _tB);
}

class ViewerInput : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_qDir.isValid());
        ASSERT_FALSE(m_xserver.Display().isEmpty()) << "Xvfb did not start";
        m_qenv = m_xserver.Environment();
        m_qenv.insert(QStringLiteral("XDG_CONFIG_HOME"), m_qDir.filePath(QStringLiteral("config")));
        // A still fisheye scene (a grid over colour bars), so that pictures of the same place
        // compare equal.
        m_qstrClip = m_qDir.filePath(QStringLiteral("clip.h264"));
        const ProgramRun tFfmpeg = RunProgram(
            QStringLiteral("ffmpeg"),
            {QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"),
             QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
             QStringLiteral(
                 "smptehdbars=size=640x320:rate=25:duration=4,drawgrid=w=40:h=40:t=3:c=white,"
                 "v360=input=e:output=fisheye:h_fov=180:v_fov=180:pitch=-90:w=320:h=320,format=yuv420p"),
             QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
             QStringLiteral("veryfast"), QStringLiteral("-g"), QStringLiteral("25"), QStringLiteral("-bf"),
             QStringLiteral("0"), QStringLiteral("-f"), QStringLiteral("h264"), m_qstrClip},
            60000);
        ASSERT_EQ(tFfmpeg.m_iExit, 0) << tFfmpeg.m_strErr;
    }

    void StartViewer() {
        m_pViewer = std::make_unique<QProcess>();
        m_pViewer->setProcessEnvironment(m_qenv);
        m_pViewer->setWorkingDirectory(m_qDir.path());
        m_pViewer->start(QStringLiteral(FISHVIEWER_PATH),
                         {m_qstrClip, QStringLiteral("--views"), QStringLiteral("360,ptz1"),
                          QStringLiteral("--mount"), QStringLiteral("2")});
        ASSERT_TRUE(m_pViewer->waitForStarted(10000));
        // Its window, then its first pictures.
        const ProgramRun tSearch = Xdo({QStringLiteral("search"), QStringLiteral("--sync"),
                                        QStringLiteral("--name"), QStringLiteral("^fishviewer")});
        ASSERT_EQ(tSearch.m_iExit, 0) << tSearch.m_strErr;
        m_qstrWindow = QString::fromStdString(tSearch.m_strOut).split(QLatin1Char('\n')).value(0);
        QThread::msleep(2500);
        // The mouse over the PTZ view, the lower row of the window (the 360 panorama, which
        // starts the library's outlines, is the upper one).
        ASSERT_EQ(Xdo({QStringLiteral("mousemove"), QStringLiteral("--window"), m_qstrWindow,
                       QStringLiteral("512"), QStringLiteral("540")})
                      .m_iExit,
                  0);
        QThread::msleep(300);
    }

    void StopViewer() {
        Xdo({QStringLiteral("key"), QStringLiteral("ctrl+q")});
        if (!m_pViewer->waitForFinished(10000)) {
            m_pViewer->kill();
            m_pViewer->waitForFinished(5000);
        }
        m_strOutput += m_pViewer->readAllStandardOutput().toStdString();
        m_pViewer.reset();
    }

    ProgramRun Xdo(const QStringList& _qlistArgs) {
        QProcess qXdo;
        qXdo.setProcessEnvironment(m_qenv);
        qXdo.start(QStringLiteral("xdotool"), _qlistArgs);
        ProgramRun tRun;
        if (!qXdo.waitForFinished(15000)) {
            qXdo.kill();
            qXdo.waitForFinished(5000);
            return tRun;
        }
        tRun.m_iExit = qXdo.exitCode();
        tRun.m_strOut = qXdo.readAllStandardOutput().toStdString();
        tRun.m_strErr = qXdo.readAllStandardError().toStdString();
        return tRun;
    }

    void Keys(const QStringList& _qlistKeys) {
        for (const QString& qstrKey : _qlistKeys) {
            Xdo({QStringLiteral("key"), qstrKey});
            QThread::msleep(120);
        }
        QThread::msleep(600); // the views rendered at their new places
    }

    // Presses S and returns the snapshot the viewer says it wrote.
    QString Snapshot() {
        const int iFrom = static_cast<int>(m_strOutput.size());
        Keys({QStringLiteral("s")});
        QElapsedTimer qtimer;
        qtimer.start();
        const QRegularExpression qre(QStringLiteral("snapshot: (\\S+\\.png)\n"));
        while (qtimer.elapsed() < 5000) {
            m_pViewer->waitForReadyRead(100);
            m_strOutput += m_pViewer->readAllStandardOutput().toStdString();
            const QRegularExpressionMatch qmatch =
                qre.match(QString::fromStdString(m_strOutput.substr(iFrom)));
            if (qmatch.hasMatch())
                return qmatch.captured(1);
        }
        return QString();
    }

    QTemporaryDir m_qDir;
    XServer m_xserver;
    QProcessEnvironment m_qenv;
    QString m_qstrClip;
    QString m_qstrWindow;
    std::unique_ptr<QProcess> m_pViewer;
    std::string m_strOutput;
};

TEST_F(ViewerInput, APresetStoredBeforeARestartShowsTheSameViewWhenRecalled) {
    StartViewer();
    ASSERT_FALSE(HasFatalFailure());
    const QString qstrStart = Snapshot();
    ASSERT_FALSE(qstrStart.isEmpty()) << m_strOutput;
    // Somewhere else, zoomed in: the arrow keys and +.
    Keys({QStringLiteral("Right"), QStringLiteral("Right"), QStringLiteral("plus"), QStringLiteral("plus"),
          QStringLiteral("plus"), QStringLiteral("plus"), QStringLiteral("plus"), QStringLiteral("plus")});
    Keys({QStringLiteral("ctrl+1")});
    const QString qstrStored = Snapshot();
    ASSERT_FALSE(qstrStored.isEmpty()) << m_strOutput;
    StopViewer();
    EXPECT_NE(m_strOutput.find("preset 1 stored: "), std::string::npos) << m_strOutput;

    StartViewer();
    ASSERT_FALSE(HasFatalFailure());
    const QString qstrRestarted = Snapshot();
    Keys({QStringLiteral("1")});
    QThread::msleep(2500); // the rounds of drags that bring the view there
    const QString qstrRecalled = Snapshot();
    StopViewer();
    EXPECT_NE(m_strOutput.find("preset 1 recalled\n"), std::string::npos) << m_strOutput;

    const DemoImage tStart = DemoImage::LoadPng(qstrStart);
    const DemoImage tStored = DemoImage::LoadPng(qstrStored);
    const DemoImage tRestarted = DemoImage::LoadPng(qstrRestarted);
    const DemoImage tRecalled = DemoImage::LoadPng(qstrRecalled);
    ASSERT_FALSE(tStart.IsNull());
    ASSERT_FALSE(tStored.IsNull());
    ASSERT_FALSE(tRestarted.IsNull());
    ASSERT_FALSE(tRecalled.IsNull());
    // The snapshot is the PTZ view: the window's width, half its height.
    EXPECT_GT(tStart.Width(), 900);
    EXPECT_GT(tStart.Height(), 250);
    EXPECT_LT(tStart.Height(), 400);
    EXPECT_NE(m_strOutput.find("fishviewer-ptz0-"), std::string::npos) << m_strOutput;
    const double dMoved = Difference(tStart, tStored);
    EXPECT_GT(dMoved, 10.0) << "the keys did not move the view";
    EXPECT_LT(Difference(tStart, tRestarted), dMoved / 3) << "a restart starts at the start";
    EXPECT_LT(Difference(tStored, tRecalled), dMoved / 3) << "the preset did not bring the view back";
    std::printf("moved %.1f, restarted %.1f, recalled %.1f\n", dMoved, Difference(tStart, tRestarted),
                Difference(tStored, tRecalled));
}

TEST_F(ViewerInput, AMountingChangeKeepsTheWindowSizeAndThePtzViewsPlace) {
    StartViewer();
    ASSERT_FALSE(HasFatalFailure());
    // Somewhere else than the start, and where it is (stored as preset 2, which says the place).
    Keys({QStringLiteral("Right"), QStringLiteral("Right"), QStringLiteral("plus"), QStringLiteral("plus"),
          QStringLiteral("ctrl+2")});
    const std::string strGeometry = Xdo({QStringLiteral("getwindowgeometry"), m_qstrWindow}).m_strOut;
    // View > Mounting > Wall, by its keys.
    Keys({QStringLiteral("ctrl+shift+w")});
    QThread::msleep(4000); // the new player, its first outlines, the rounds that bring the view back
    EXPECT_EQ(Xdo({QStringLiteral("getwindowgeometry"), m_qstrWindow}).m_strOut, strGeometry);
    StopViewer();
    const QRegularExpression qreStored(QStringLiteral("preset 2 stored: ([0-9.]+) ([0-9.]+) ([0-9]+)\n"));
    const QRegularExpression qreAt(QStringLiteral("PTZ 1 at ([0-9.]+) ([0-9.]+), zoom ([0-9]+)\n"));
    const QString qstrOutput = QString::fromStdString(m_strOutput);
    const QRegularExpressionMatch qmatchStored = qreStored.match(qstrOutput);
    ASSERT_TRUE(qmatchStored.hasMatch()) << m_strOutput;
    QRegularExpressionMatch qmatchAt;
    for (auto it = qreAt.globalMatch(qstrOutput, qmatchStored.capturedEnd()); it.hasNext();)
        qmatchAt = it.next(); // the last place said: after the change
    ASSERT_TRUE(qmatchAt.hasMatch()) << m_strOutput;
    EXPECT_NEAR(qmatchAt.captured(1).toDouble(), qmatchStored.captured(1).toDouble(), 0.01) << m_strOutput;
    EXPECT_NEAR(qmatchAt.captured(2).toDouble(), qmatchStored.captured(2).toDouble(), 0.01) << m_strOutput;
    EXPECT_EQ(qmatchAt.captured(3), qmatchStored.captured(3));
    // The mounting is this camera's from now on, with its views.
    QFile qConfig(m_qDir.filePath(QStringLiteral("config/fishplayer/fishviewer.conf")));
    ASSERT_TRUE(qConfig.open(QIODevice::ReadOnly));
    const QByteArray qbaConfig = qConfig.readAll();
    EXPECT_TRUE(qbaConfig.contains("mount=1\n")) << qbaConfig.toStdString();
    EXPECT_TRUE(qbaConfig.contains("views=360, ptz1\n")) << qbaConfig.toStdString();
}

} // namespace
