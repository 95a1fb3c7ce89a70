// Picture files written by the engine's capture and surface exports.
#ifndef KORVANE_IMAGE_FILES_H
#define KORVANE_IMAGE_FILES_H

#include <cstdint>
#include <string>

namespace korvane {

// _pcRgb: _iWidth * _iHeight RGB pixels, rows top to bottom. Each returns 0 or a KW_ERR_* code.
int WriteBmp(const std::string& _strPath, const std::uint8_t* _pcRgb, int _iWidth, int _iHeight);
int WritePpm(const std::string& _strPath, const std::uint8_t* _pcRgb, int _iWidth, int _iHeight);
int WritePng(const std::string& _strPath, const std::uint8_t* _pcRgb, int _iWidth, int _iHeight);

} // namespace korvane

#endif // KORVANE_IMAGE_FILES_H
