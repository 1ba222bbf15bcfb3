// PNG files in and out, through libpng.
#pragma once

#include <cstdio>
#include <string>

#include "images.h"

namespace morvatool {

// Reads any PNG (grey, grey and alpha, RGB, RGBA, palette, 1 to 16 bits) as
// 8-bit colour. Opaque pictures become FORMAT_RGB24 images. Pictures with
// transparency become FORMAT_RGB32 images whose colour is flattened onto
// `background`, because composition copies pixels and blends nothing; the
// fourth byte keeps the alpha. Throws ToolError "cannot read 'name': reason".
ImagePtr readPng(std::FILE* file, const std::string& name, Rgb background);
ImagePtr readPng(const std::string& path, Rgb background);
ImagePtr readPngFromMemory(const uint8_t* bytes, size_t size, Rgb background);

// Writes a FORMAT_RGB32 or FORMAT_RGB24 image as an 8-bit RGB PNG to a file
// the caller owns. Throws ToolError "cannot write 'name': reason".
void writePng(std::FILE* file, const std::string& name, const TImage& image);

}  // namespace morvatool
