// PNG files in and out, through libpng.
#pragma once

#include <string>

#include "images.h"

namespace morvatool {

// Reads any PNG (grey, grey and alpha, RGB, RGBA, palette, 1 to 16 bits) as
// 8-bit colour. Opaque pictures become FORMAT_RGB24 images. Pictures with
// transparency become FORMAT_RGB32 images whose colour is flattened onto
// `background`, because composition copies pixels and blends nothing; the
// fourth byte keeps the alpha. Throws ToolError "cannot read 'path': reason".
ImagePtr readPng(const std::string& path, Rgb background);

// Writes a FORMAT_RGB32 or FORMAT_RGB24 image as an 8-bit RGB PNG.
// Throws ToolError "cannot write 'path': reason".
void writePng(const std::string& path, const TImage& image);

}  // namespace morvatool
