// The viewer used as a person uses it, under Xvfb: it plays a fisheye clip, PTZ view 0 is
// dragged and zoomed with the mouse, and screenshots before and after show the view and its
// outline on the fisheye view moved; sources that fail or are slow to answer are said.
#include "DemoImage.h"
#include "DemoSupport.h"
#include "Loopback.h"
#include "XServer.h"

#include <QFile>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <string>

namespace {

struct Tile {
    int m_iX = 0, m_iY = 0, m_iW = 0, m_iH = 0;
};

// A message alone in the window: mostly light, with dark text (not black views).
bool ShowsAMessage(const DemoImage& _tShot) {
    if (_tShot.IsNull())
        return false;
    int iLight = 0, iDark = 0;
    for (int y = 0; y < _tShot.Height(); ++y)
        for (int x = 0; x < _tShot.Width(); ++x) {
            const DemoColor tColor = _tShot.Pixel(x, y);
            const int iSum = tColor.m_ucR + tColor.m_ucG + tColor.m_ucB;
            iLight += iSum > 3 * 150 ? 1 : 0;
            iDark += iSum < 3 * 80 ? 1 : 0;
        }
    return iLight > _tShot.Width() * _tShot.Height() / 2 && iDark > 50;
}

double Difference(const DemoImage& _tA, const DemoImage& _tB) {
    return DemoImage::Difference(_tA, _tB);
}

TEST(ViewerUnderXvfb, ADragAndAWheelTurnMoveThePtzViewAndItsOutline) {
    QTemporaryDir qDir;
    ASSERT_TRUE(qDir.isValid());
    // A 320 x 320 fisheye clip of a test scene (colour bars under a grid), four seconds long: the
    // viewer plays it in a loop.
    const QString qstrClip = qDir.filePath(QStringLiteral("clip.h264"));
    QProcess qFfmpeg;
    qFfmpeg.start(
        QStringLiteral("ffmpeg"),
        {QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"),
         QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
         QStringLiteral("testsrc=size=640x320:rate=25:duration=4,drawgrid=w=53:h=53:t=3:c=white,"
                        "v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=320:h=320,format=yuv420p"),
         QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
         QStringLiteral("veryfast"), QStringLiteral("-g"), QStringLiteral("25"), QStringLiteral("-bf"),
         QStringLiteral("0"), QStringLiteral("-f"), QStringLiteral("h264"), qstrClip});
    ASSERT_TRUE(qFfmpeg.waitForFinished(60000)) << "ffmpeg (scripts/setup-debian.sh installs it) did not run";
    ASSERT_EQ(qFfmpeg.exitCode(), 0) << qFfmpeg.readAllStandardError().toStdString();

    QProcess qViewer;
    const XServer tServer(QStringLiteral("1280x800x24"));
    ASSERT_FALSE(tServer.Display().isEmpty()) << "Xvfb did not start";
    qViewer.setProcessEnvironment(tServer.Environment());
    qViewer.start(QStringLiteral(FISHVIEWER_PATH),
                  {qstrClip, QStringLiteral("--size"), QStringLiteral("320x320"),
                   QStringLiteral("--self-test"), qDir.path()});
    ASSERT_TRUE(qViewer.waitForFinished(60000));
    const QString qstrOutput = QString::fromUtf8(qViewer.readAllStandardOutput());
    ASSERT_EQ(qViewer.exitCode(), 0) << qstrOutput.toStdString()
                                     << qViewer.readAllStandardError().toStdString();

    // The outline of PTZ view 0, as the overlay callback delivered it, moved.
    const QRegularExpression qre(QStringLiteral("(before|after): outline of ptz0 at ([-0-9.]+) ([-0-9.]+)"));
    std::map<std::string, std::pair<double, double>> mapCentres;
    for (auto it = qre.globalMatch(qstrOutput); it.hasNext();) {
        const QRegularExpressionMatch qmatch = it.next();
        mapCentres[qmatch.captured(1).toStdString()] = {qmatch.captured(2).toDouble(),
                                                        qmatch.captured(3).toDouble()};
    }
    ASSERT_EQ(mapCentres.size(), 2u) << qstrOutput.toStdString();
    EXPECT_GE(mapCentres["before"].first, 0.0);
    EXPECT_GT(std::hypot(mapCentres["after"].first - mapCentres["before"].first,
                         mapCentres["after"].second - mapCentres["before"].second),
              0.05);

    // On screen: PTZ view 0 and the fisheye view (its outlines) changed; PTZ view 1 shows the
    // same place as before.
    const DemoImage tBefore = DemoImage::LoadPng(qDir.filePath(QStringLiteral("before.png")));
    const DemoImage tAfter = DemoImage::LoadPng(qDir.filePath(QStringLiteral("after.png")));
    ASSERT_FALSE(tBefore.IsNull());
    ASSERT_FALSE(tAfter.IsNull());
    QFile qLayout(qDir.filePath(QStringLiteral("layout.txt")));
    ASSERT_TRUE(qLayout.open(QIODevice::ReadOnly));
    std::map<std::string, Tile> mapTiles;
    for (const QByteArray& qbaLine : qLayout.readAll().split('\n')) {
        const QList<QByteArray> qlist = qbaLine.split(' ');
        if (qlist.size() == 5)
            mapTiles[qlist[0].toStdString()] = {qlist[1].toInt(), qlist[2].toInt(), qlist[3].toInt(),
                                                qlist[4].toInt()};
    }
    ASSERT_EQ(mapTiles.size(), 3u);
    std::map<std::string, double> mapChange;
    for (const auto& [strName, tTile] : mapTiles) {
        const DemoImage tA = tBefore.Cropped(tTile.m_iX, tTile.m_iY, tTile.m_iW, tTile.m_iH);
        const DemoImage tB = tAfter.Cropped(tTile.m_iX, tTile.m_iY, tTile.m_iW, tTile.m_iH);
        ASSERT_EQ(tA.Width(), tTile.m_iW) << strName;
        mapChange[strName] = Difference(tA, tB);
    }
    EXPECT_GT(mapChange["ptz0"], 10.0);
    EXPECT_GT(mapChange["fisheye"], 0.5);
    EXPECT_GT(mapChange["ptz0"], 2 * mapChange["ptz1"]);
}

TEST(ViewerUnderXvfb, ShowsWhatItPlaysOnTheStatusBar) {
    // Written by the run of the test above into its output: run here on a clip of its own.
    QTemporaryDir qDir;
    ASSERT_TRUE(qDir.isValid());
    const QString qstrClip = qDir.filePath(QStringLiteral("clip.mp4"));
    QProcess qFfmpeg;
    qFfmpeg.start(QStringLiteral("ffmpeg"),
                  {QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"),
                   QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                   QStringLiteral("testsrc=size=320x240:rate=25:duration=6"), QStringLiteral("-c:v"),
                   QStringLiteral("libx264"), QStringLiteral("-preset"), QStringLiteral("veryfast"),
                   QStringLiteral("-bf"), QStringLiteral("0"), QStringLiteral("-pix_fmt"),
                   QStringLiteral("yuv420p"), qstrClip});
    ASSERT_TRUE(qFfmpeg.waitForFinished(60000));
    ASSERT_EQ(qFfmpeg.exitCode(), 0) << qFfmpeg.readAllStandardError().toStdString();
    // Each renderer says itself; GL draws the views (X11 windows) through Mesa where there is no GPU.
    for (const char* pcRenderer : {"cpu", "gl"}) {
        QProcess qViewer;
        const XServer tServer(QStringLiteral("1280x800x24"));
        ASSERT_FALSE(tServer.Display().isEmpty()) << "Xvfb did not start";
        qViewer.setProcessEnvironment(tServer.Environment());
        qViewer.start(QStringLiteral(FISHVIEWER_PATH),
                      {qstrClip, QStringLiteral("--renderer"), QString::fromLatin1(pcRenderer),
                       QStringLiteral("--self-test"), qDir.path()});
        ASSERT_TRUE(qViewer.waitForFinished(60000));
        const std::string strOutput = qViewer.readAllStandardOutput().toStdString();
        ASSERT_EQ(qViewer.exitCode(), 0) << strOutput;
        // The picture size is the stream's own (4:3), the latency measured, the source playing.
        const QRegularExpression qre(
            QStringLiteral(
                "after: status %1 \\| h264 320 x 240 \\| [0-9.]+ decoded/s, [0-9.]+ shown/s, [0-9]+ "
                "dropped \\| %2 renderer \\| latency [0-9]+ ms \\(95%: [0-9]+ ms\\) \\| 0 "
                "reconnection\\(s\\) \\| playing\n")
                .arg(QRegularExpression::escape(qstrClip), QString::fromLatin1(pcRenderer).toUpper()));
        EXPECT_TRUE(qre.match(QString::fromStdString(strOutput)).hasMatch()) << strOutput;
    }
}

TEST(ViewerUnderXvfb, ShowsWhyASourceFailedInPlaceOfTheViews) {
    QTemporaryDir qDir;
    ASSERT_TRUE(qDir.isValid());
    const QString qstrInput = qDir.filePath(QStringLiteral("noise.bin"));
    QFile qNoise(qstrInput);
    ASSERT_TRUE(qNoise.open(QIODevice::WriteOnly));
    qNoise.write(NoiseBytes(64 * 1024, 7));
    qNoise.close();
    QProcess qViewer;
    QElapsedTimer qtimer;
    qtimer.start();
    const XServer tServer(QStringLiteral("1280x800x24"));
    ASSERT_FALSE(tServer.Display().isEmpty()) << "Xvfb did not start";
    qViewer.setProcessEnvironment(tServer.Environment());
    qViewer.start(QStringLiteral(FISHVIEWER_PATH), {qstrInput, QStringLiteral("--self-test"), qDir.path()});
    ASSERT_TRUE(qViewer.waitForFinished(60000));
    EXPECT_EQ(qViewer.exitCode(), 1);
    const std::string strError = qViewer.readAllStandardError().toStdString();
    EXPECT_NE(
        strError.find("fishviewer: cannot open " + qstrInput.toStdString() +
                      ": no video format found in its 64.0 KB (Invalid data found when processing input)\n"),
        std::string::npos)
        << strError;
    EXPECT_LT(qtimer.elapsed(), 20000);
    // The window shows the message, not black views.
    EXPECT_TRUE(ShowsAMessage(DemoImage::LoadPng(qDir.filePath(QStringLiteral("failure.png")))));
}

TEST(ViewerUnderXvfb, AnswersAndSaysWhatItOpensWhileACameraIsSlowToAnswer) {
    // A camera on loopback that takes the connection and never answers.
    const loopback::SilentListener tCamera;
    ASSERT_NE(tCamera.Port(), 0);
    const QString qstrUrl = QStringLiteral("rtsp://127.0.0.1:%1/cam").arg(tCamera.Port());
    QTemporaryDir qDir;
    ASSERT_TRUE(qDir.isValid());
    const XServer tServer(QStringLiteral("1280x800x24"));
    ASSERT_FALSE(tServer.Display().isEmpty()) << "Xvfb did not start";
    QProcess qViewer;
    qViewer.setProcessEnvironment(tServer.Environment());
    qViewer.start(QStringLiteral(FISHVIEWER_PATH), {qstrUrl, QStringLiteral("--timeout"), QStringLiteral("3"),
                                                    QStringLiteral("--self-test"), qDir.path()});
    ASSERT_TRUE(qViewer.waitForFinished(60000));
    EXPECT_EQ(qViewer.exitCode(), 1);
    // A second into the opening the window had painted and said what it opens: the opening does
    // not hold the window.
    const std::string strOutput = qViewer.readAllStandardOutput().toStdString();
    EXPECT_NE(strOutput.find("opening: status opening " + qstrUrl.toStdString() + "\n"), std::string::npos)
        << strOutput;
    EXPECT_TRUE(ShowsAMessage(DemoImage::LoadPng(qDir.filePath(QStringLiteral("opening.png")))));
    // Then the time-out given, and the reason in place of the views.
    const std::string strError = qViewer.readAllStandardError().toStdString();
    EXPECT_NE(
        strError.find("fishviewer: cannot open " + qstrUrl.toStdString() + ": no answer within 3.0 s\n"),
        std::string::npos)
        << strError;
    EXPECT_TRUE(ShowsAMessage(DemoImage::LoadPng(qDir.filePath(QStringLiteral("failure.png")))));
}

// A 320 x 320 fisheye clip of an ffmpeg test source, four seconds long.
void MakeFisheyeClip(const QString& _qstrSource, const QString& _qstrClip) {
    QProcess qFfmpeg;
    qFfmpeg.start(QStringLiteral("ffmpeg"),
                  {QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"),
                   QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                   _qstrSource + QStringLiteral("=size=640x320:rate=25:duration=4,"
                                                "v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=320:h=320,"
                                                "format=yuv420p"),
                   QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
                   QStringLiteral("veryfast"), QStringLiteral("-g"), QStringLiteral("25"),
                   QStringLiteral("-bf"), QStringLiteral("0"), QStringLiteral("-f"), QStringLiteral("h264"),
                   _qstrClip});
    ASSERT_TRUE(qFfmpeg.waitForFinished(60000)) << "ffmpeg (scripts/setup-debian.sh installs it) did not run";
    ASSERT_EQ(qFfmpeg.exitCode(), 0) << qFfmpeg.readAllStandardError().toStdString();
}

TEST(ViewerUnderXvfb, TwoCamerasPlayAtOnceEachShowingItsOwnPictures) {
    QTemporaryDir qDir;
    ASSERT_TRUE(qDir.isValid());
    const QString qstrBars = qDir.filePath(QStringLiteral("bars.h264"));
    const QString qstrPattern = qDir.filePath(QStringLiteral("pattern.h264"));
    MakeFisheyeClip(QStringLiteral("smptebars"), qstrBars);
    MakeFisheyeClip(QStringLiteral("testsrc"), qstrPattern);
    QProcess qViewer;
    const XServer tServer(QStringLiteral("1920x1080x24"));
    ASSERT_FALSE(tServer.Display().isEmpty()) << "Xvfb did not start";
    qViewer.setProcessEnvironment(tServer.Environment());
    qViewer.start(QStringLiteral(FISHVIEWER_PATH),
                  {qstrBars, qstrPattern, QStringLiteral("--views"), QStringLiteral("360,ptz1"),
                   QStringLiteral("--self-test"), qDir.path()});
    ASSERT_TRUE(qViewer.waitForFinished(60000));
    const std::string strOutput = qViewer.readAllStandardOutput().toStdString();
    ASSERT_EQ(qViewer.exitCode(), 0) << strOutput << qViewer.readAllStandardError().toStdString();
    // Each camera plays its own clip, with a status bar of its own.
    const QString qstrStatus = QStringLiteral("camera %1: status %2 \\| h264 320 x 320 \\| .* \\| playing\n");
    for (const auto& [iCamera, qstrClip] : {std::pair<int, QString>{0, qstrBars}, {1, qstrPattern}})
        EXPECT_TRUE(QRegularExpression(qstrStatus.arg(iCamera).arg(QRegularExpression::escape(qstrClip)))
                        .match(QString::fromStdString(strOutput))
                        .hasMatch())
            << strOutput;
    // Each camera's panorama shows a picture (not one flat colour), and not the other's.
    DemoImage atShots[2];
    for (int i = 0; i < 2; ++i) {
        atShots[i] = DemoImage::LoadPng(qDir.filePath(QStringLiteral("camera%1.png").arg(i)));
        ASSERT_FALSE(atShots[i].IsNull()) << i;
        int iMin = 255, iMax = 0;
        for (int iByte = 0; iByte < atShots[i].ByteCount(); ++iByte) {
            iMin = std::min<int>(iMin, atShots[i].Data()[iByte]);
            iMax = std::max<int>(iMax, atShots[i].Data()[iByte]);
        }
        EXPECT_GT(iMax - iMin, 100) << "camera " << i << " shows no picture";
    }
    EXPECT_GT(Difference(atShots[0], atShots[1]), 20.0);
}

// The command line is read before any window exists: no display is needed to refuse it.
ProgramRun RunViewer(const QStringList& _qlistArgs) {
    return RunProgram(QStringLiteral(FISHVIEWER_PATH), _qlistArgs, 30000);
}

TEST(ViewerOptions, HelpListsEveryOptionAndExitsZero) {
    const ProgramRun tRun = RunViewer({QStringLiteral("--help")});
    EXPECT_EQ(tRun.m_iExit, 0);
    EXPECT_EQ(tRun.m_strErr, "");
    for (const char* pcOption : {"--mount", "--views", "--size", "--transport", "--timeout", "--renderer",
                                 "--verbose", "--self-test", "--help"})
        EXPECT_NE(tRun.m_strOut.find(pcOption), std::string::npos) << pcOption << " missing from\n"
                                                                   << tRun.m_strOut;
}

TEST(ViewerOptions, BadOptionsExitTwoWithOneLineNamingTheOptionAndItsValues) {
    const std::string strViews =
        "a comma-separated list of source, fisheye, 360, 180, lat and ptzN (N 1 to 4), "
        "each once\n";
    const std::string strSize = "WIDTHxHEIGHT, each side from 16 to 16384 pixels\n";
    const std::string strMount = "1 (wall), 2 (ceiling) or 3 (floor)\n";
    const std::pair<QStringList, std::string> aCases[] = {
        {{QStringLiteral("--mount"), QStringLiteral("7")}, "fishviewer: --mount '7' refused: " + strMount},
        {{QStringLiteral("--mount"), QStringLiteral("abc")},
         "fishviewer: --mount 'abc' refused: " + strMount},
        {{QStringLiteral("--views"), QStringLiteral("bogus")},
         "fishviewer: --views 'bogus' refused at 'bogus': " + strViews},
        {{QStringLiteral("--views"), QStringLiteral("fisheye,360,fisheye")},
         "fishviewer: --views 'fisheye,360,fisheye' refused at 'fisheye': " + strViews},
        {{QStringLiteral("--views"), QStringLiteral("fisheye,ptz9")},
         "fishviewer: --views 'fisheye,ptz9' refused at 'ptz9': " + strViews},
        {{QStringLiteral("--views"), QStringLiteral("ptz1,ptz2")},
         "fishviewer: --views 'ptz1,ptz2' refused at 'ptz2': " + strViews},
        {{QStringLiteral("--views"), QStringLiteral("")},
         "fishviewer: --views '' refused at '': " + strViews},
        {{QStringLiteral("--size"), QStringLiteral("0x0")}, "fishviewer: --size '0x0' refused: " + strSize},
        {{QStringLiteral("--size"), QStringLiteral("-5x10")},
         "fishviewer: --size '-5x10' refused: " + strSize},
        {{QStringLiteral("--size"), QStringLiteral("99999999x2")},
         "fishviewer: --size '99999999x2' refused: " + strSize},
        {{QStringLiteral("--transport"), QStringLiteral("quic")},
         "fishviewer: --transport 'quic' refused: one of tcp, udp\n"},
        {{QStringLiteral("--timeout"), QStringLiteral("0.1")},
         "fishviewer: --timeout '0.1' refused: a number from 0.5 to 120\n"},
        {{QStringLiteral("--timeout"), QStringLiteral("nan")},
         "fishviewer: --timeout 'nan' refused: a number from 0.5 to 120\n"},
        {{QStringLiteral("--timeout")}, "fishviewer: --timeout needs a value: seconds, 0.5 to 120\n"},
        {{QStringLiteral("--renderer"), QStringLiteral("vulkan")},
         "fishviewer: --renderer 'vulkan' refused: one of gl, cpu, auto\n"},
        {{QStringLiteral("--renderer")}, "fishviewer: --renderer needs a value: one of gl, cpu, auto\n"},
        {{QStringLiteral("--zoom")}, "fishviewer: unknown option --zoom (--help lists the options)\n"},
        {{QStringLiteral("--views")}, "fishviewer: --views needs a value: " + strViews},
        {{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d"),
          QStringLiteral("e")},
         "fishviewer: input 'e' refused: the viewer shows at most 4 cameras at once\n"},
    };
    for (const auto& [qlistArgs, strLine] : aCases) {
        const ProgramRun tRun = RunViewer(qlistArgs);
        EXPECT_EQ(tRun.m_iExit, 2) << qPrintable(qlistArgs.join(QLatin1Char(' ')));
        EXPECT_EQ(tRun.m_strErr, strLine);
        EXPECT_EQ(tRun.m_strOut, "");
    }
}

} // namespace
