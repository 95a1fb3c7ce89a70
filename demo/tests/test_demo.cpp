// The demo command run as a person runs it, on a short fisheye clip made with ffmpeg, on the open
// engine and algorithm: its contact sheet shows every view, each with a picture of its own.
#include "DemoImage.h"
#include "DemoSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

// The clip: a 200 x 200 fisheye picture of a test scene (colour bars under a grid), in a
// 288 x 224 frame with black borders, so that the whole-fisheye view and the source differ.
// (Widths that are not a multiple of 16 crash the open engine's colour conversion for now.)
constexpr int WIDTH = 288;
constexpr int HEIGHT = 224;

const char* const VIEW_NAMES[] = {"source", "fisheye", "panorama360", "panorama180", "lat",
                                  "ptz0",   "ptz1",    "ptz2",        "ptz3"};

struct Tile {
    int m_iX = 0, m_iY = 0, m_iW = 0, m_iH = 0;
};

class DemoRun : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_pDir = new QTemporaryDir();
        ASSERT_TRUE(s_pDir->isValid());
        const QString qstrClip = s_pDir->filePath(QStringLiteral("clip.h264"));
        QProcess qFfmpeg;
        qFfmpeg.start(
            QStringLiteral("ffmpeg"),
            {QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"),
             QStringLiteral("-y"), QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
             QStringLiteral("testsrc=size=400x200:rate=25:duration=1.2,drawgrid=w=34:h=34:t=2:c=white,"
                            "v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=200:h=200,"
                            "pad=%1:%2:44:12:black,format=yuv420p")
                 .arg(WIDTH)
                 .arg(HEIGHT),
             QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
             QStringLiteral("veryfast"), QStringLiteral("-g"), QStringLiteral("25"), QStringLiteral("-bf"),
             QStringLiteral("0"), QStringLiteral("-f"), QStringLiteral("h264"), qstrClip});
        ASSERT_TRUE(qFfmpeg.waitForFinished(60000))
            << "ffmpeg (scripts/setup-debian.sh installs it) did not run";
        ASSERT_EQ(qFfmpeg.exitCode(), 0) << qFfmpeg.readAllStandardError().toStdString();

        s_qstrOut = s_pDir->filePath(QStringLiteral("out"));
        QProcess qDemo;
        qDemo.start(QStringLiteral(FISHPLAYER_DEMO_PATH),
                    {qstrClip, QStringLiteral("--size"), QStringLiteral("%1x%2").arg(WIDTH).arg(HEIGHT),
                     QStringLiteral("--out"), s_qstrOut, QStringLiteral("--sheet-width"),
                     QStringLiteral("800"), QStringLiteral("--scale"), QStringLiteral("0.4"),
                     QStringLiteral("--mount"), QStringLiteral("1")});
        ASSERT_TRUE(qDemo.waitForFinished(120000));
        s_strOutput = qDemo.readAllStandardOutput().toStdString();
        s_iExitCode = qDemo.exitCode();
    }

    static void TearDownTestSuite() {
        delete s_pDir;
        s_pDir = nullptr;
    }

    static std::map<std::string, Tile> Layout() {
        std::map<std::string, Tile> mapTiles;
        QFile qFile(s_qstrOut + QStringLiteral("/contact_sheet.txt"));
        if (!qFile.open(QIODevice::ReadOnly))
            return mapTiles;
        for (const QByteArray& qbaLine : qFile.readAll().split('\n')) {
            const QList<QByteArray> qlistFields = qbaLine.split(' ');
            if (qlistFields.size() == 5)
                mapTiles[qlistFields[0].toStdString()] = {qlistFields[1].toInt(), qlistFields[2].toInt(),
                                                          qlistFields[3].toInt(), qlistFields[4].toInt()};
        }
        return mapTiles;
    }

    // Share of pixels that are not dark, and the spread of their brightness.
    static void Content(const DemoImage& _tImage, double& _dLit, double& _dSpread) {
        double dSum = 0, dSumSq = 0;
        int iLit = 0;
        const int iCount = _tImage.Width() * _tImage.Height();
        for (int y = 0; y < _tImage.Height(); ++y) {
            for (int x = 0; x < _tImage.Width(); ++x) {
                const DemoColor tColor = _tImage.Pixel(x, y);
                const double dLuma = (tColor.m_ucR + tColor.m_ucG + tColor.m_ucB) / 3.0;
                iLit += dLuma > 24 ? 1 : 0;
                dSum += dLuma;
                dSumSq += dLuma * dLuma;
            }
        }
        _dLit = static_cast<double>(iLit) / iCount;
        _dSpread = std::sqrt(std::max(0.0, dSumSq / iCount - (dSum / iCount) * (dSum / iCount)));
    }

    // Mean absolute difference per channel after both pictures are brought to one size.
    static double Difference(const DemoImage& _tA, const DemoImage& _tB) {
        return DemoImage::Difference(_tA, _tB);
    }

    static QTemporaryDir* s_pDir;
    static QString s_qstrOut;
    static std::string s_strOutput;
    static int s_iExitCode;
};

QTemporaryDir* DemoRun::s_pDir = nullptr;
QString DemoRun::s_qstrOut;
std::string DemoRun::s_strOutput;
int DemoRun::s_iExitCode = -1;

TEST_F(DemoRun, FinishesAndTellsWhereItsPicturesAre) {
    EXPECT_EQ(s_iExitCode, 0) << s_strOutput;
    const std::string strSheet =
        QDir(s_qstrOut).absoluteFilePath(QStringLiteral("contact_sheet.png")).toStdString();
    EXPECT_NE(s_strOutput.find("contact sheet: " + strSheet), std::string::npos) << s_strOutput;
    // Every step got its pictures, and the overlay callback delivered all four outlines.
    for (const char* pcStep : {"01_start", "02_ptz-commands", "03_drags", "04_zooms", "05_diagonals"}) {
        EXPECT_NE(s_strOutput.find("4 PTZ outlines -> " + s_qstrOut.toStdString() + "/" + pcStep),
                  std::string::npos)
            << pcStep << "\n"
            << s_strOutput;
        for (const char* pcView : VIEW_NAMES)
            EXPECT_TRUE(QFile::exists(
                QStringLiteral("%1/%2/%3.png").arg(s_qstrOut, QLatin1String(pcStep), QLatin1String(pcView))))
                << pcStep << "/" << pcView;
    }
}

TEST_F(DemoRun, EveryViewOfTheContactSheetShowsAPictureOfItsOwn) {
    const DemoImage tSheet = DemoImage::LoadPng(s_qstrOut + QStringLiteral("/contact_sheet.png"));
    ASSERT_FALSE(tSheet.IsNull());
    EXPECT_EQ(tSheet.Width(), 800);
    const std::map<std::string, Tile> mapTiles = Layout();
    ASSERT_EQ(mapTiles.size(), 9u);
    std::map<std::string, DemoImage> mapPictures;
    for (const char* pcView : VIEW_NAMES) {
        ASSERT_EQ(mapTiles.count(pcView), 1u) << pcView;
        const Tile& tTile = mapTiles.at(pcView);
        ASSERT_GT(tTile.m_iW, 16) << pcView;
        ASSERT_GT(tTile.m_iH, 16) << pcView;
        ASSERT_LE(tTile.m_iX + tTile.m_iW, tSheet.Width()) << pcView;
        ASSERT_LE(tTile.m_iY + tTile.m_iH, tSheet.Height()) << pcView;
        // Inside the PTZ tiles' coloured frames.
        const int iInset = 4;
        mapPictures[pcView] = tSheet.Cropped(tTile.m_iX + iInset, tTile.m_iY + iInset,
                                             tTile.m_iW - 2 * iInset, tTile.m_iH - 2 * iInset);
        double dLit = 0, dSpread = 0;
        Content(mapPictures[pcView], dLit, dSpread);
        EXPECT_GT(dLit, 0.2) << pcView << " is mostly dark";
        EXPECT_GT(dSpread, 8.0) << pcView << " is one flat colour";
    }
    for (const char* pcA : VIEW_NAMES)
        for (const char* pcB : VIEW_NAMES)
            if (std::string(pcA) < std::string(pcB))
                EXPECT_GT(Difference(mapPictures[pcA], mapPictures[pcB]), 6.0)
                    << pcA << " and " << pcB << " look alike";
}

TEST_F(DemoRun, TheScriptMovesThePtzViews) {
    for (const char* pcView : {"ptz0", "ptz1", "ptz2", "ptz3"}) {
        const DemoImage tFirst =
            DemoImage::LoadPng(QStringLiteral("%1/01_start/%2.png").arg(s_qstrOut, QLatin1String(pcView)));
        const DemoImage tLast = DemoImage::LoadPng(
            QStringLiteral("%1/05_diagonals/%2.png").arg(s_qstrOut, QLatin1String(pcView)));
        ASSERT_FALSE(tFirst.IsNull()) << pcView;
        ASSERT_FALSE(tLast.IsNull()) << pcView;
        EXPECT_GT(Difference(tFirst, tLast), 6.0) << pcView << " did not move";
    }
}

// The default run: no input named, so the sample clip of the room (a ceiling-mounted camera over a
// photograph beside the test pattern) that scripts/make-sample.sh writes; every view shows it, the
// 360-degree panorama included.
TEST(DemoDefaultScene, ItsPanoramaIsLessThanFifteenPercentBlack) {
    QTemporaryDir qDir;
    ASSERT_TRUE(qDir.isValid());
    const QString qstrSamples = qDir.filePath(QStringLiteral("build/samples"));
    const ProgramRun tSample = RunProgram(QStringLiteral(FISHPLAYER_MAKE_SAMPLE),
                                          {qstrSamples, QStringLiteral("1"), QStringLiteral("room")}, 120000);
    ASSERT_EQ(tSample.m_iExit, 0) << tSample.m_strErr;
    QProcess qDemo;
    qDemo.setWorkingDirectory(qDir.path());
    qDemo.start(QStringLiteral(FISHPLAYER_DEMO_PATH),
                {QStringLiteral("--fast"), QStringLiteral("--sheet-width"), QStringLiteral("800"),
                 QStringLiteral("--scale"), QStringLiteral("0.4")});
    ASSERT_TRUE(qDemo.waitForFinished(120000));
    ASSERT_EQ(qDemo.exitCode(), 0) << qDemo.readAllStandardError().toStdString();
    for (const char* pcView : {"panorama360", "panorama180", "lat"}) {
        const DemoImage tView = DemoImage::LoadPng(
            qDir.filePath(QStringLiteral("fishplayer-demo/01_start/%1.png").arg(QLatin1String(pcView))));
        ASSERT_FALSE(tView.IsNull()) << pcView;
        int iBlack = 0;
        for (int y = 0; y < tView.Height(); ++y)
            for (int x = 0; x < tView.Width(); ++x) {
                const DemoColor tColor = tView.Pixel(x, y);
                iBlack += tColor.m_ucR + tColor.m_ucG + tColor.m_ucB <= 3 * 24 ? 1 : 0;
            }
        const double dBlack = static_cast<double>(iBlack) / (tView.Width() * tView.Height());
        EXPECT_LT(dBlack, 0.15) << pcView;
        std::printf("%s: %.1f %% black\n", pcView, 100.0 * dBlack);
    }
}

} // namespace
