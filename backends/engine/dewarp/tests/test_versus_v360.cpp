// Every view kind rendered from a fisheye picture and compared with FFmpeg's v360 filter rendering
// the same picture with the same geometry (docs/geometry.md, "Matching FFmpeg's v360"). The
// picture is an equirectangular test scene turned into a 180-degree fisheye by v360 itself. Each
// test skips itself when the ffmpeg command is missing.
#include "DewarpTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>

using namespace fisheye;
using namespace dewarptest;

namespace {

constexpr int SOURCE = 1024;
constexpr double MIN_PSNR = 30.0;

bool HaveFfmpeg() {
    static const bool s_blHave = 0 == std::system("ffmpeg -hide_banner -version > /dev/null 2>&1");
    return s_blHave;
}

std::string Quoted(const std::string& _strText) {
    return "'" + _strText + "'";
}

std::vector<std::uint8_t> ReadFile(const std::string& _strPath) {
    std::ifstream file(_strPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class VersusV360 : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!HaveFfmpeg())
            return;
        char acTemplate[] = "/tmp/fishplayer-dewarp-XXXXXX";
        ASSERT_NE(mkdtemp(acTemplate), nullptr);
        s_strDir = acTemplate;
        // A grid over the colour bars and gradients of the test source, softened so that the half
        // pixel by which the two renderers' sampling grids differ stays below the threshold.
        const std::string strCommand =
            "ffmpeg -v error -y -f lavfi -i "
            "testsrc=size=2048x1024:duration=1,drawgrid=w=128:h=128:t=5:c=white,gblur=sigma=3 -frames:v 1 "
            "-vf v360=input=e:output=fisheye:h_fov=180:v_fov=180:w=1024:h=1024 -f rawvideo -pix_fmt rgb24 " +
            Quoted(s_strDir + "/fisheye.rgb");
        ASSERT_EQ(std::system(strCommand.c_str()), 0) << strCommand;
        s_pSource = new STRUCT_Picture(SOURCE, SOURCE);
        s_pSource->m_vecData = ReadFile(s_strDir + "/fisheye.rgb");
        ASSERT_EQ(s_pSource->m_vecData.size(), static_cast<std::size_t>(SOURCE) * SOURCE * 3);
    }

    static void TearDownTestSuite() {
        delete s_pSource;
        s_pSource = nullptr;
        if (!s_strDir.empty()) {
            std::remove((s_strDir + "/fisheye.rgb").c_str());
            std::remove((s_strDir + "/v360.rgb").c_str());
            rmdir(s_strDir.c_str());
        }
    }

    void SetUp() override {
        if (!HaveFfmpeg())
            GTEST_SKIP() << "the ffmpeg command is not installed: comparisons with FFmpeg's v360 skipped";
        ASSERT_NE(s_pSource, nullptr);
    }

    // FFmpeg's rendering of the fisheye picture through _strFilter.
    static STRUCT_Picture Reference(const std::string& _strFilter, int _iWidth, int _iHeight) {
        const std::string strOut = s_strDir + "/v360.rgb";
        const std::string strCommand = "ffmpeg -v error -y -f rawvideo -pix_fmt rgb24 -s 1024x1024 -i " +
                                       Quoted(s_strDir + "/fisheye.rgb") + " -vf " + Quoted(_strFilter) +
                                       " -f rawvideo -pix_fmt rgb24 " + Quoted(strOut);
        STRUCT_Picture reference(_iWidth, _iHeight);
        EXPECT_EQ(std::system(strCommand.c_str()), 0) << strCommand;
        const std::vector<std::uint8_t> vecData = ReadFile(strOut);
        EXPECT_EQ(vecData.size(), reference.m_vecData.size()) << strCommand;
        if (vecData.size() == reference.m_vecData.size())
            reference.m_vecData = vecData;
        return reference;
    }

    // PSNR of our view against FFmpeg's over the pixels the view shows (FFmpeg's fisheye reaches
    // into the picture's corners, beyond the image circle, where ours is black by design).
    static double Psnr(const STRUCT_ViewParams& _tParams, const std::string& _strFilter,
                       double _dMinShown = 0.45) {
        CLS_RemapTable table;
        EXPECT_TRUE(table.Update(_tParams, SOURCE, SOURCE));
        STRUCT_Picture ours(_tParams.m_iWidth, _tParams.m_iHeight);
        EXPECT_TRUE(table.Apply(s_pSource->Image(), ours.Image()));
        const STRUCT_Picture reference = Reference(_strFilter, _tParams.m_iWidth, _tParams.m_iHeight);
        double dSum = 0.0;
        std::size_t uCount = 0;
        for (int y = 0; y < _tParams.m_iHeight; ++y) {
            for (int x = 0; x < _tParams.m_iWidth; ++x) {
                if (!(table.Entry(x, y).m_uFlags & CLS_RemapTable::INSIDE))
                    continue;
                const std::size_t uAt = (static_cast<std::size_t>(y) * _tParams.m_iWidth + x) * 3;
                for (int c = 0; c < 3; ++c) {
                    const double dDiff =
                        static_cast<double>(ours.m_vecData[uAt + c]) - reference.m_vecData[uAt + c];
                    dSum += dDiff * dDiff;
                }
                uCount += 3;
            }
        }
        const double dShown = static_cast<double>(uCount) / (3.0 * _tParams.m_iWidth * _tParams.m_iHeight);
        EXPECT_GE(dShown, _dMinShown) << "the view shows too little of the picture to compare";
        if (0 == uCount)
            return 0.0;
        const double dMse = dSum / uCount;
        return dMse > 0.0 ? 10.0 * std::log10(255.0 * 255.0 / dMse) : 99.0;
    }

    static STRUCT_ViewParams View(n_ViewKind _eKind, n_Mount _eMount, int _iWidth, int _iHeight,
                                  double _dRotation = 0.0) {
        STRUCT_ViewParams tParams;
        tParams.m_eKind = _eKind;
        tParams.m_eMount = _eMount;
        tParams.m_iWidth = _iWidth;
        tParams.m_iHeight = _iHeight;
        tParams.m_dRotation = _dRotation;
        return tParams;
    }

    // v360's equirectangular output turned like the mount's world, with the panorama's rotation.
    static std::string Equirect(n_Mount _eMount, int _iWidth, int _iHeight, double _dRotation) {
        std::ostringstream stream;
        stream << "v360=input=fisheye:output=e:ih_fov=180:iv_fov=180:w=" << _iWidth << ":h=" << _iHeight;
        switch (_eMount) {
        case n_Mount::Ceiling:
            stream << ":rorder=rpy:pitch=90:yaw=" << _dRotation;
            break;
        case n_Mount::Floor:
            stream << ":rorder=rpy:pitch=-90:roll=180:yaw=" << _dRotation;
            break;
        case n_Mount::Wall:
        default:
            stream << ":yaw=" << _dRotation;
            break;
        }
        return stream.str();
    }

    static std::string s_strDir;
    static STRUCT_Picture* s_pSource;
};

std::string VersusV360::s_strDir;
STRUCT_Picture* VersusV360::s_pSource = nullptr;

const char* MountName(n_Mount _eMount) {
    return n_Mount::Wall == _eMount ? "wall" : (n_Mount::Ceiling == _eMount ? "ceiling" : "floor");
}

// The crop of v360's full equirectangular picture that our panorama of the mount shows: all of it
// for the wall mount (elevations +90 to -90 degrees), the lower half for the ceiling (horizon to
// straight down), the upper half for the floor.
std::string PanoramaCrop(n_Mount _eMount, int _iWidth, int _iHeight, int _iLeft) {
    std::ostringstream stream;
    stream << ",crop=" << _iWidth << ":" << _iHeight << ":" << _iLeft << ":"
           << (n_Mount::Ceiling == _eMount ? _iHeight : 0);
    return stream.str();
}

int FullHeight(n_Mount _eMount, int _iHeight) {
    return n_Mount::Wall == _eMount ? _iHeight : 2 * _iHeight;
}

} // namespace

TEST_F(VersusV360, SourceViewMatchesABilinearScale) {
    // Same size: v360 is not involved, FFmpeg's scaler copies the picture.
    EXPECT_GE(Psnr(View(n_ViewKind::Source, n_Mount::Ceiling, 1024, 1024), "scale=1024:1024:flags=bilinear"),
              MIN_PSNR);
    EXPECT_GE(Psnr(View(n_ViewKind::Source, n_Mount::Ceiling, 1280, 1280), "scale=1280:1280:flags=bilinear"),
              MIN_PSNR);
}

TEST_F(VersusV360, FisheyeViewMatchesFisheyeToFisheye) {
    EXPECT_GE(Psnr(View(n_ViewKind::Fisheye, n_Mount::Ceiling, 512, 512),
                   "v360=input=fisheye:output=fisheye:ih_fov=180:iv_fov=180:h_fov=180:v_fov=180:w=512:h=512"),
              MIN_PSNR);
}

TEST_F(VersusV360, PanoramaMatchesEquirectangularOutputForEveryMountAndRotation) {
    for (n_Mount eMount : {n_Mount::Wall, n_Mount::Ceiling, n_Mount::Floor}) {
        for (double dRotation : {0.0, 30.0, -77.25}) {
            const int iHeight = n_Mount::Wall == eMount ? 360 : 180;
            const std::string strFilter = Equirect(eMount, 720, FullHeight(eMount, iHeight), dRotation) +
                                          PanoramaCrop(eMount, 720, iHeight, 0);
            SCOPED_TRACE(testing::Message()
                         << MountName(eMount) << " rotation " << dRotation << ": " << strFilter);
            // The wall mount's lens sees half of the panorama.
            EXPECT_GE(Psnr(View(n_ViewKind::Panorama, eMount, 720, iHeight, dRotation), strFilter,
                           n_Mount::Wall == eMount ? 0.45 : 0.95),
                      MIN_PSNR);
        }
    }
}

TEST_F(VersusV360, ComparisonTellsAWrongRotationApart) {
    // The same comparison as above with the rotation left out of v360's filter fails clearly.
    const std::string strFilter =
        Equirect(n_Mount::Ceiling, 720, 360, 0.0) + PanoramaCrop(n_Mount::Ceiling, 720, 180, 0);
    EXPECT_LT(Psnr(View(n_ViewKind::Panorama, n_Mount::Ceiling, 720, 180, 30.0), strFilter), 20.0);
}

TEST_F(VersusV360, HalfViewMatchesTheMiddleOfEquirectangularOutput) {
    for (n_Mount eMount : {n_Mount::Wall, n_Mount::Ceiling, n_Mount::Floor}) {
        for (double dRotation : {0.0, 20.0}) {
            const int iHeight = n_Mount::Wall == eMount ? 360 : 180;
            const std::string strFilter = Equirect(eMount, 720, FullHeight(eMount, iHeight), dRotation) +
                                          PanoramaCrop(eMount, 360, iHeight, 180);
            SCOPED_TRACE(testing::Message()
                         << MountName(eMount) << " rotation " << dRotation << ": " << strFilter);
            EXPECT_GE(Psnr(View(n_ViewKind::Half, eMount, 360, iHeight, dRotation), strFilter,
                           n_Mount::Wall == eMount && dRotation != 0.0 ? 0.7 : 0.85),
                      MIN_PSNR);
        }
    }
}

TEST_F(VersusV360, LatViewMatchesTheMiddleOfUnturnedEquirectangularOutput) {
    // The LAT view is about the picture's own axes, whatever the mount.
    for (n_Mount eMount : {n_Mount::Wall, n_Mount::Ceiling, n_Mount::Floor}) {
        SCOPED_TRACE(MountName(eMount));
        EXPECT_GE(Psnr(View(n_ViewKind::Lat, eMount, 360, 360),
                       Equirect(n_Mount::Wall, 720, 360, 0.0) + PanoramaCrop(n_Mount::Wall, 360, 360, 180),
                       0.95),
                  MIN_PSNR);
    }
}

// v360's yaw, pitch and roll (default order: yaw, then pitch, then roll) of a PTZ view's frame,
// in v360's camera frame: x to the picture's right, y to its top, z along the optical axis.
std::string FlatFilter(const STRUCT_ViewFrame& _tView, int _iWidth, int _iHeight) {
    const STRUCT_Vec3 tForward{_tView.m_tForward.m_dX, -_tView.m_tForward.m_dY, _tView.m_tForward.m_dZ};
    const STRUCT_Vec3 tUp{_tView.m_tUp.m_dX, -_tView.m_tUp.m_dY, _tView.m_tUp.m_dZ};
    const double dPitch = std::asin(std::clamp(tForward.m_dY, -1.0, 1.0));
    const double dYaw = std::atan2(tForward.m_dX, tForward.m_dZ);
    // The view's up with yaw and pitch undone: roll turns it from y toward x.
    const double dCy = std::cos(dYaw);
    const double dSy = std::sin(dYaw);
    const STRUCT_Vec3 tUnyawed{dCy * tUp.m_dX - dSy * tUp.m_dZ, tUp.m_dY, dSy * tUp.m_dX + dCy * tUp.m_dZ};
    const double dCp = std::cos(dPitch);
    const double dSp = std::sin(dPitch);
    const double dUpX = tUnyawed.m_dX;
    const double dUpY = dCp * tUnyawed.m_dY - dSp * tUnyawed.m_dZ;
    const double dRoll = std::atan2(dUpX, dUpY);
    const double dDegrees = 180.0 / PI;
    std::ostringstream stream;
    stream.precision(10);
    stream << "v360=input=fisheye:output=flat:ih_fov=180:iv_fov=180:w=" << _iWidth << ":h=" << _iHeight
           << ":h_fov=" << 2.0 * std::atan(_tView.m_dTanHalfWidth) * dDegrees
           << ":v_fov=" << 2.0 * std::atan(_tView.m_dTanHalfHeight) * dDegrees << ":yaw=" << dYaw * dDegrees
           << ":pitch=" << dPitch * dDegrees << ":roll=" << dRoll * dDegrees;
    return stream.str();
}

TEST_F(VersusV360, PtzViewMatchesFlatOutputAtTheSameAngles) {
    struct STRUCT_Case {
        int m_iX;
        int m_iY;
        int m_iZoom;
    };
    const STRUCT_Case atCases[] = {
        {6500, 4000, 5000}, {3000, 7000, 3000}, {5000, 2000, 2500}, {5000, 5000, 12000}};
    const CLS_FisheyeGeometry geometry;
    for (n_Mount eMount : {n_Mount::Wall, n_Mount::Ceiling, n_Mount::Floor}) {
        for (const STRUCT_Case& tCase : atCases) {
            STRUCT_ViewParams tParams = View(n_ViewKind::Ptz, eMount, 320, 180);
            tParams.m_iPtzX = tCase.m_iX;
            tParams.m_iPtzY = tCase.m_iY;
            tParams.m_iPtzZoom = tCase.m_iZoom;
            const std::string strFilter =
                FlatFilter(geometry.PtzView(eMount, {tCase.m_iX / 10000.0, tCase.m_iY / 10000.0},
                                            tCase.m_iZoom / 10000.0, 320.0 / 180.0),
                           320, 180);
            SCOPED_TRACE(testing::Message() << MountName(eMount) << ": " << strFilter);
            EXPECT_GE(Psnr(tParams, strFilter, 0.95), MIN_PSNR);
        }
    }
}
