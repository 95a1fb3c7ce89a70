// RGB pictures for the demo: scaling, outlines, contact-sheet tiles and PNG files, with no
// dependency beyond Qt Core (zlib through qCompress/qUncompress).
#ifndef FISHPLAYER_DEMO_IMAGE_H
#define FISHPLAYER_DEMO_IMAGE_H

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

struct DemoColor {
    std::uint8_t m_ucR;
    std::uint8_t m_ucG;
    std::uint8_t m_ucB;
};

// 8-bit RGB, rows top to bottom, no padding.
class DemoImage {
public:
    DemoImage() = default;
    DemoImage(int _iWidth, int _iHeight, DemoColor _tFill = {0, 0, 0});

    int Width() const { return m_iWidth; }
    int Height() const { return m_iHeight; }
    bool IsNull() const { return m_iWidth <= 0 || m_iHeight <= 0; }
    std::uint8_t* Data() { return m_vecRgb.data(); }
    const std::uint8_t* Data() const { return m_vecRgb.data(); }
    int ByteCount() const { return static_cast<int>(m_vecRgb.size()); }

    DemoColor Pixel(int _iX, int _iY) const;
    void SetPixel(int _iX, int _iY, DemoColor _tColor); // ignores positions outside

    // The part (_iX, _iY, _iW, _iH) of this picture, clipped to it.
    DemoImage Cropped(int _iX, int _iY, int _iW, int _iH) const;
    // Scaled to _iW x _iH with bilinear filtering (area averaging when shrinking a lot).
    DemoImage Scaled(int _iW, int _iH) const;
    // How unlike two pictures look: the mean difference of their bytes, both scaled to 64 x 48
    // (0 to 255).
    static double Difference(const DemoImage& _tA, const DemoImage& _tB);
    // Copies _tImage with its top-left corner at (_iX, _iY), clipped.
    void Paste(const DemoImage& _tImage, int _iX, int _iY);
    // A line _iThickness pixels wide from (_dX0, _dY0) to (_dX1, _dY1), in pixels.
    void DrawLine(double _dX0, double _dY0, double _dX1, double _dY1, DemoColor _tColor, int _iThickness = 2);
    // A frame _iThickness pixels wide along the inside of the rectangle.
    void DrawFrame(int _iX, int _iY, int _iW, int _iH, DemoColor _tColor, int _iThickness = 2);

    // PNG encoding (8-bit RGB, one IDAT) and decoding (8-bit RGB or RGBA, not interlaced).
    QByteArray ToPng() const;
    bool SavePng(const QString& _qstrPath) const;
    static DemoImage FromPng(const QByteArray& _qbaPng); // null on anything it cannot read
    static DemoImage LoadPng(const QString& _qstrPath);

private:
    int m_iWidth = 0;
    int m_iHeight = 0;
    std::vector<std::uint8_t> m_vecRgb;
};

#endif // FISHPLAYER_DEMO_IMAGE_H
