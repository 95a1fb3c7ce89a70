#include "DemoImage.h"

#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

const char PNG_SIGNATURE[] = "\x89PNG\r\n\x1a\n";
constexpr int PNG_SIGNATURE_SIZE = 8;

quint32 Crc32(const QByteArray& _qbaData) {
    static const std::vector<quint32> s_vecTable = [] {
        std::vector<quint32> vecTable(256);
        for (quint32 n = 0; n < 256; ++n) {
            quint32 c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xedb88320u ^ (c >> 1) : c >> 1;
            vecTable[n] = c;
        }
        return vecTable;
    }();
    quint32 c = 0xffffffffu;
    for (char ch : _qbaData)
        c = s_vecTable[(c ^ static_cast<std::uint8_t>(ch)) & 0xff] ^ (c >> 8);
    return c ^ 0xffffffffu;
}

void AppendBigEndian(QByteArray& _qba, quint32 _uValue) {
    for (int iShift = 24; iShift >= 0; iShift -= 8)
        _qba.append(static_cast<char>((_uValue >> iShift) & 0xff));
}

quint32 ReadBigEndian(const QByteArray& _qba, int _iOffset) {
    quint32 uValue = 0;
    for (int i = 0; i < 4; ++i)
        uValue = (uValue << 8) | static_cast<std::uint8_t>(_qba[_iOffset + i]);
    return uValue;
}

void AppendChunk(QByteArray& _qbaPng, const char* _pcType, const QByteArray& _qbaData) {
    AppendBigEndian(_qbaPng, static_cast<quint32>(_qbaData.size()));
    const QByteArray qbaTyped = QByteArray(_pcType, 4) + _qbaData;
    _qbaPng.append(qbaTyped);
    AppendBigEndian(_qbaPng, Crc32(qbaTyped));
}

int Paeth(int _iA, int _iB, int _iC) {
    const int iP = _iA + _iB - _iC;
    const int iPa = std::abs(iP - _iA);
    const int iPb = std::abs(iP - _iB);
    const int iPc = std::abs(iP - _iC);
    if (iPa <= iPb && iPa <= iPc)
        return _iA;
    return iPb <= iPc ? _iB : _iC;
}

} // namespace

DemoImage::DemoImage(int _iWidth, int _iHeight, DemoColor _tFill)
    : m_iWidth(std::max(0, _iWidth)), m_iHeight(std::max(0, _iHeight)),
      m_vecRgb(static_cast<size_t>(m_iWidth) * m_iHeight * 3) {
    for (size_t i = 0; i < m_vecRgb.size(); i += 3) {
        m_vecRgb[i] = _tFill.m_ucR;
        m_vecRgb[i + 1] = _tFill.m_ucG;
        m_vecRgb[i + 2] = _tFill.m_ucB;
    }
}

DemoColor DemoImage::Pixel(int _iX, int _iY) const {
    const std::uint8_t* p = m_vecRgb.data() + (static_cast<size_t>(_iY) * m_iWidth + _iX) * 3;
    return {p[0], p[1], p[2]};
}

void DemoImage::SetPixel(int _iX, int _iY, DemoColor _tColor) {
    if (_iX < 0 || _iY < 0 || _iX >= m_iWidth || _iY >= m_iHeight)
        return;
    std::uint8_t* p = m_vecRgb.data() + (static_cast<size_t>(_iY) * m_iWidth + _iX) * 3;
    p[0] = _tColor.m_ucR;
    p[1] = _tColor.m_ucG;
    p[2] = _tColor.m_ucB;
}

DemoImage DemoImage::Cropped(int _iX, int _iY, int _iW, int _iH) const {
    const int iX0 = std::clamp(_iX, 0, m_iWidth);
    const int iY0 = std::clamp(_iY, 0, m_iHeight);
    const int iX1 = std::clamp(_iX + _iW, iX0, m_iWidth);
    const int iY1 = std::clamp(_iY + _iH, iY0, m_iHeight);
    DemoImage tOut(iX1 - iX0, iY1 - iY0);
    for (int y = iY0; y < iY1; ++y)
        std::copy_n(Data() + (static_cast<size_t>(y) * m_iWidth + iX0) * 3, tOut.m_iWidth * 3,
                    tOut.Data() + static_cast<size_t>(y - iY0) * tOut.m_iWidth * 3);
    return tOut;
}

DemoImage DemoImage::Scaled(int _iW, int _iH) const {
    DemoImage tOut(_iW, _iH);
    if (IsNull() || tOut.IsNull())
        return tOut;
    // Each output pixel averages a grid of bilinear samples over its footprint, so that strong
    // shrinking does not alias.
    const double dSx = static_cast<double>(m_iWidth) / _iW;
    const double dSy = static_cast<double>(m_iHeight) / _iH;
    const int iNx = std::max(1, static_cast<int>(std::ceil(dSx)));
    const int iNy = std::max(1, static_cast<int>(std::ceil(dSy)));
    auto Sample = [this](double _dX, double _dY, int _iC) {
        const double dX = std::clamp(_dX - 0.5, 0.0, m_iWidth - 1.0);
        const double dY = std::clamp(_dY - 0.5, 0.0, m_iHeight - 1.0);
        const int iX0 = static_cast<int>(dX);
        const int iY0 = static_cast<int>(dY);
        const int iX1 = std::min(iX0 + 1, m_iWidth - 1);
        const int iY1 = std::min(iY0 + 1, m_iHeight - 1);
        const double dFx = dX - iX0;
        const double dFy = dY - iY0;
        auto At = [this, _iC](int _iXi, int _iYi) {
            return static_cast<double>(m_vecRgb[(static_cast<size_t>(_iYi) * m_iWidth + _iXi) * 3 + _iC]);
        };
        return (At(iX0, iY0) * (1 - dFx) + At(iX1, iY0) * dFx) * (1 - dFy) +
               (At(iX0, iY1) * (1 - dFx) + At(iX1, iY1) * dFx) * dFy;
    };
    for (int y = 0; y < _iH; ++y) {
        for (int x = 0; x < _iW; ++x) {
            for (int c = 0; c < 3; ++c) {
                double dSum = 0;
                for (int j = 0; j < iNy; ++j)
                    for (int i = 0; i < iNx; ++i)
                        dSum += Sample((x + (i + 0.5) / iNx) * dSx, (y + (j + 0.5) / iNy) * dSy, c);
                tOut.m_vecRgb[(static_cast<size_t>(y) * _iW + x) * 3 + c] =
                    static_cast<std::uint8_t>(std::clamp(dSum / (iNx * iNy) + 0.5, 0.0, 255.0));
            }
        }
    }
    return tOut;
}

void DemoImage::Paste(const DemoImage& _tImage, int _iX, int _iY) {
    for (int y = 0; y < _tImage.m_iHeight; ++y) {
        const int iY = _iY + y;
        if (iY < 0 || iY >= m_iHeight)
            continue;
        for (int x = 0; x < _tImage.m_iWidth; ++x)
            SetPixel(_iX + x, iY, _tImage.Pixel(x, y));
    }
}

void DemoImage::DrawLine(double _dX0, double _dY0, double _dX1, double _dY1, DemoColor _tColor,
                         int _iThickness) {
    if (!std::isfinite(_dX0) || !std::isfinite(_dY0) || !std::isfinite(_dX1) || !std::isfinite(_dY1))
        return;
    const double dLength = std::hypot(_dX1 - _dX0, _dY1 - _dY0);
    // Points far outside the picture are not drawn point by point.
    if (dLength > 4.0 * (m_iWidth + m_iHeight))
        return;
    const int iSteps = std::max(1, static_cast<int>(std::ceil(dLength * 2)));
    const int iHalf = _iThickness / 2;
    for (int i = 0; i <= iSteps; ++i) {
        const double dT = static_cast<double>(i) / iSteps;
        const int iX = static_cast<int>(std::floor(_dX0 + (_dX1 - _dX0) * dT));
        const int iY = static_cast<int>(std::floor(_dY0 + (_dY1 - _dY0) * dT));
        for (int dy = -iHalf; dy < _iThickness - iHalf; ++dy)
            for (int dx = -iHalf; dx < _iThickness - iHalf; ++dx)
                SetPixel(iX + dx, iY + dy, _tColor);
    }
}

void DemoImage::DrawFrame(int _iX, int _iY, int _iW, int _iH, DemoColor _tColor, int _iThickness) {
    for (int y = _iY; y < _iY + _iH; ++y)
        for (int x = _iX; x < _iX + _iW; ++x)
            if (x - _iX < _iThickness || _iX + _iW - 1 - x < _iThickness || y - _iY < _iThickness ||
                _iY + _iH - 1 - y < _iThickness)
                SetPixel(x, y, _tColor);
}

QByteArray DemoImage::ToPng() const {
    QByteArray qbaPng(PNG_SIGNATURE, PNG_SIGNATURE_SIZE);
    QByteArray qbaHeader;
    AppendBigEndian(qbaHeader, static_cast<quint32>(m_iWidth));
    AppendBigEndian(qbaHeader, static_cast<quint32>(m_iHeight));
    qbaHeader.append("\x08\x02\x00\x00\x00", 5); // 8 bits, RGB, deflate, adaptive filter, no interlace
    AppendChunk(qbaPng, "IHDR", qbaHeader);

    // Every row filtered with "up", which compresses camera pictures well and costs nothing.
    const int iRowBytes = m_iWidth * 3;
    QByteArray qbaRaw;
    qbaRaw.reserve((iRowBytes + 1) * m_iHeight);
    for (int y = 0; y < m_iHeight; ++y) {
        qbaRaw.append(static_cast<char>(y == 0 ? 0 : 2));
        const std::uint8_t* pRow = Data() + static_cast<size_t>(y) * iRowBytes;
        for (int i = 0; i < iRowBytes; ++i)
            qbaRaw.append(static_cast<char>(y == 0 ? pRow[i] : pRow[i] - pRow[i - iRowBytes]));
    }
    // qCompress writes the length in 4 bytes, then a zlib stream: the stream is what IDAT holds.
    AppendChunk(qbaPng, "IDAT", qCompress(qbaRaw, 6).mid(4));
    AppendChunk(qbaPng, "IEND", QByteArray());
    return qbaPng;
}

bool DemoImage::SavePng(const QString& _qstrPath) const {
    QSaveFile qFile(_qstrPath);
    if (!qFile.open(QIODevice::WriteOnly))
        return false;
    qFile.write(ToPng());
    return qFile.commit();
}

DemoImage DemoImage::FromPng(const QByteArray& _qbaPng) {
    if (_qbaPng.size() < PNG_SIGNATURE_SIZE ||
        _qbaPng.left(PNG_SIGNATURE_SIZE) != QByteArray(PNG_SIGNATURE, 8))
        return {};
    int iWidth = 0;
    int iHeight = 0;
    int iChannels = 0;
    QByteArray qbaZlib;
    for (int iPos = PNG_SIGNATURE_SIZE; iPos + 12 <= _qbaPng.size();) {
        const quint32 uLength = ReadBigEndian(_qbaPng, iPos);
        if (uLength > static_cast<quint32>(_qbaPng.size() - iPos - 12))
            return {};
        const QByteArray qbaType = _qbaPng.mid(iPos + 4, 4);
        const QByteArray qbaData = _qbaPng.mid(iPos + 8, static_cast<int>(uLength));
        if (qbaType == "IHDR") {
            if (qbaData.size() != 13 || qbaData[8] != 8 || qbaData[12] != 0)
                return {};
            iWidth = static_cast<int>(ReadBigEndian(qbaData, 0));
            iHeight = static_cast<int>(ReadBigEndian(qbaData, 4));
            iChannels = qbaData[9] == 2 ? 3 : qbaData[9] == 6 ? 4 : 0;
        } else if (qbaType == "IDAT") {
            qbaZlib.append(qbaData);
        } else if (qbaType == "IEND") {
            break;
        }
        iPos += 12 + static_cast<int>(uLength);
    }
    if (iWidth <= 0 || iHeight <= 0 || iWidth > 16384 || iHeight > 16384 || iChannels == 0)
        return {};
    const int iRowBytes = iWidth * iChannels;
    const quint32 uExpected = static_cast<quint32>((iRowBytes + 1) * iHeight);
    QByteArray qbaPrefixed;
    AppendBigEndian(qbaPrefixed, uExpected);
    const QByteArray qbaRaw = qUncompress(qbaPrefixed + qbaZlib);
    if (qbaRaw.size() != static_cast<int>(uExpected))
        return {};

    std::vector<std::uint8_t> vecPrev(iRowBytes, 0);
    std::vector<std::uint8_t> vecRow(iRowBytes, 0);
    DemoImage tImage(iWidth, iHeight);
    for (int y = 0; y < iHeight; ++y) {
        const auto* pIn = reinterpret_cast<const std::uint8_t*>(qbaRaw.constData()) + y * (iRowBytes + 1);
        const int iFilter = pIn[0];
        for (int i = 0; i < iRowBytes; ++i) {
            const int iA = i >= iChannels ? vecRow[i - iChannels] : 0;
            const int iB = vecPrev[i];
            const int iC = i >= iChannels ? vecPrev[i - iChannels] : 0;
            int iPred = 0;
            switch (iFilter) {
            case 0:
                iPred = 0;
                break;
            case 1:
                iPred = iA;
                break;
            case 2:
                iPred = iB;
                break;
            case 3:
                iPred = (iA + iB) / 2;
                break;
            case 4:
                iPred = Paeth(iA, iB, iC);
                break;
            default:
                return {};
            }
            vecRow[i] = static_cast<std::uint8_t>(pIn[1 + i] + iPred);
        }
        for (int x = 0; x < iWidth; ++x)
            tImage.SetPixel(x, y,
                            {vecRow[x * iChannels], vecRow[x * iChannels + 1], vecRow[x * iChannels + 2]});
        std::swap(vecPrev, vecRow);
    }
    return tImage;
}

DemoImage DemoImage::LoadPng(const QString& _qstrPath) {
    QFile qFile(_qstrPath);
    if (!qFile.open(QIODevice::ReadOnly))
        return {};
    return FromPng(qFile.readAll());
}

double DemoImage::Difference(const DemoImage& _tA, const DemoImage& _tB) {
    const DemoImage tA = _tA.Scaled(64, 48);
    const DemoImage tB = _tB.Scaled(64, 48);
    double dSum = 0;
    for (int i = 0; i < tA.ByteCount(); ++i)
        dSum += std::abs(tA.Data()[i] - tB.Data()[i]);
    return dSum / tA.ByteCount();
}
