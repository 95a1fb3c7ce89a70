// The remap's kernels: every vectorised kernel the processor runs gives the portable kernel's bytes,
// for every channel count, view kind, output width (most of them not a multiple of the vector
// width) and source layout (tight rows, where the last pixel ends the buffer, and padded rows).
#include "DewarpTestSupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace fisheye;
using namespace dewarptest;

namespace {

// A picture whose rows may be longer than its pixels (the padding is filled too, so that a kernel
// reading it would show).
struct STRUCT_Strided {
    STRUCT_Strided(int _iWidth, int _iHeight, int _iChannels, int _iPadding, std::uint8_t _uFill)
        : m_tImage{nullptr, _iWidth, _iHeight, _iChannels, _iWidth * _iChannels + _iPadding},
          m_vecData(static_cast<std::size_t>(m_tImage.m_iStride) * (_iHeight - 1) +
                        static_cast<std::size_t>(_iWidth) * _iChannels,
                    _uFill) {
        m_tImage.m_pData = m_vecData.data();
    }
    STRUCT_Image m_tImage;
    std::vector<std::uint8_t> m_vecData;
};

// Remaps _source through _tParams with the portable kernel and with _eKernel, and compares every
// byte of the outputs, their row padding included.
void ExpectSameBytes(const STRUCT_Strided& _source, const STRUCT_ViewParams& _tParams, n_RemapKernel _eKernel,
                     int _iOutputPadding) {
    CLS_RemapTable table;
    ASSERT_TRUE(table.Update(_tParams, _source.m_tImage.m_iWidth, _source.m_tImage.m_iHeight));
    const int iChannels = _source.m_tImage.m_iChannels;
    STRUCT_Strided scalar(_tParams.m_iWidth, _tParams.m_iHeight, iChannels, _iOutputPadding, 0xAB);
    STRUCT_Strided vector(_tParams.m_iWidth, _tParams.m_iHeight, iChannels, _iOutputPadding, 0xAB);
    ASSERT_TRUE(table.Apply(_source.m_tImage, scalar.m_tImage, 1, n_RemapKernel::Scalar));
    ASSERT_TRUE(table.Apply(_source.m_tImage, vector.m_tImage, 1, _eKernel));
    ASSERT_EQ(scalar.m_vecData.size(), vector.m_vecData.size());
    for (std::size_t i = 0; i < scalar.m_vecData.size(); ++i) {
        const int iRow = static_cast<int>(i / scalar.m_tImage.m_iStride);
        const int iColumn = static_cast<int>(i % scalar.m_tImage.m_iStride) / iChannels;
        ASSERT_EQ(static_cast<int>(vector.m_vecData[i]), static_cast<int>(scalar.m_vecData[i]))
            << "byte " << i << ": pixel (" << iColumn << ", " << iRow << ") of view kind "
            << static_cast<int>(_tParams.m_eKind);
    }
}

} // namespace

TEST(RemapKernels, PortableKernelAndBestChoiceAlwaysRun) {
    EXPECT_TRUE(CLS_RemapTable::KernelSupported(n_RemapKernel::Scalar));
    EXPECT_TRUE(CLS_RemapTable::KernelSupported(n_RemapKernel::Best));
}

TEST(RemapKernels, VectorKernelsGiveThePortableBytes) {
    const std::vector<n_RemapKernel> vecKernels = VectorKernels();
    if (vecKernels.empty())
        GTEST_SKIP() << "this processor runs no vectorised kernel";
    struct STRUCT_Size {
        int m_iWidth;
        int m_iHeight;
    };
    // Odd source sizes; output widths below, at and around the vector width and the column tiles.
    const STRUCT_Size atSources[] = {{97, 61}, {160, 160}};
    const STRUCT_Size atOutputs[] = {{1, 3}, {7, 5}, {8, 4}, {13, 9}, {67, 21}, {523, 7}, {1031, 3}};
    for (n_RemapKernel eKernel : vecKernels) {
        for (int iChannels = 1; iChannels <= 4; ++iChannels) {
            for (const STRUCT_Size& tSourceSize : atSources) {
                for (int iPadding : {0, 5}) {
                    STRUCT_Strided source(tSourceSize.m_iWidth, tSourceSize.m_iHeight, iChannels, iPadding,
                                          0);
                    FillRandom(source.m_vecData, static_cast<std::uint32_t>(iChannels * 1000 + iPadding));
                    for (const STRUCT_Size& tOutput : atOutputs) {
                        for (const STRUCT_ViewParams& tParams : Views(tOutput.m_iWidth, tOutput.m_iHeight)) {
                            SCOPED_TRACE(testing::Message()
                                         << "kernel " << static_cast<int>(eKernel) << ", " << iChannels
                                         << " channel(s), source " << tSourceSize.m_iWidth << " x "
                                         << tSourceSize.m_iHeight << " padding " << iPadding << ", output "
                                         << tOutput.m_iWidth << " x " << tOutput.m_iHeight);
                            ExpectSameBytes(source, tParams, eKernel, iPadding ? 3 : 0);
                        }
                    }
                }
            }
        }
    }
}

TEST(RemapKernels, VectorKernelsRoundExtremesLikeThePortableOne) {
    // Black and white checks (the largest sums), and a source of one pixel and of one row, whose
    // last pixel is the end of the buffer wherever the view looks.
    const std::vector<n_RemapKernel> vecKernels = VectorKernels();
    if (vecKernels.empty())
        GTEST_SKIP() << "this processor runs no vectorised kernel";
    for (n_RemapKernel eKernel : vecKernels) {
        for (int iChannels = 1; iChannels <= 4; ++iChannels) {
            STRUCT_Strided checks(64, 64, iChannels, 0, 0);
            for (std::size_t i = 0; i < checks.m_vecData.size(); ++i)
                checks.m_vecData[i] = ((i / iChannels) % 64 + (i / iChannels) / 64) % 2 ? 255 : 0;
            STRUCT_Strided white(64, 64, iChannels, 0, 255);
            STRUCT_Strided single(1, 1, iChannels, 0, 200);
            STRUCT_Strided row(9, 1, iChannels, 0, 0);
            FillRandom(row.m_vecData, 7u);
            for (const STRUCT_ViewParams& tParams : Views(45, 11)) {
                SCOPED_TRACE(testing::Message()
                             << "kernel " << static_cast<int>(eKernel) << ", " << iChannels << " channel(s)");
                ExpectSameBytes(checks, tParams, eKernel, 0);
                ExpectSameBytes(white, tParams, eKernel, 0);
                ExpectSameBytes(single, tParams, eKernel, 0);
                ExpectSameBytes(row, tParams, eKernel, 0);
            }
        }
    }
}
