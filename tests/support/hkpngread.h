// Reads a PNG file into RGBA pixels, for tests that check pictures drawn by
// a browser.
//
// Enough of the format for browser screenshots: 8 bits per channel, colour
// types RGB (2) and RGBA (6), no interlace. The image data is inflated with
// zlib and unfiltered here. A test program that includes this header links
// zlib (see tests/CMakeLists.txt).
#pragma once

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

struct HKPngImage {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> rgba;  // row by row, four bytes a pixel
  std::string error;          // empty when the file was read

  struct Pixel {
    int r, g, b, a;
  };
  Pixel At(uint32_t x, uint32_t y) const {
    const uint8_t* p = &rgba[(static_cast<std::size_t>(y) * width + x) * 4];
    return {p[0], p[1], p[2], p[3]};
  }
};

namespace hkpng_detail {

inline uint32_t BigEndian(const uint8_t* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
}

inline int Paeth(int a, int b, int c) {
  const int p = a + b - c;
  const int pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
  if (pa <= pb && pa <= pc) return a;
  return pb <= pc ? b : c;
}

// Undoes the per-row filters in place; `raw` holds (1 + stride) bytes a row.
inline bool Unfilter(std::vector<uint8_t>& raw, uint32_t height, std::size_t stride, int bpp,
                     std::vector<uint8_t>& out) {
  out.assign(stride * height, 0);
  for (uint32_t y = 0; y < height; ++y) {
    const uint8_t filter = raw[y * (stride + 1)];
    const uint8_t* in = &raw[y * (stride + 1) + 1];
    uint8_t* row = &out[y * stride];
    const uint8_t* up = y > 0 ? &out[(y - 1) * stride] : nullptr;
    for (std::size_t i = 0; i < stride; ++i) {
      const int a = i >= static_cast<std::size_t>(bpp) ? row[i - bpp] : 0;
      const int b = up != nullptr ? up[i] : 0;
      const int c = (up != nullptr && i >= static_cast<std::size_t>(bpp)) ? up[i - bpp] : 0;
      int predictor = 0;
      switch (filter) {
        case 0: predictor = 0; break;
        case 1: predictor = a; break;
        case 2: predictor = b; break;
        case 3: predictor = (a + b) / 2; break;
        case 4: predictor = Paeth(a, b, c); break;
        default: return false;
      }
      row[i] = static_cast<uint8_t>(in[i] + predictor);
    }
  }
  return true;
}

}  // namespace hkpng_detail

// The picture in `path`; on failure `error` says why.
inline HKPngImage HKReadPng(const std::string& path) {
  HKPngImage image;
  std::ifstream in(path, std::ios::binary);
  const std::vector<uint8_t> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  static const uint8_t kSignature[8] = {137, 80, 78, 71, 13, 10, 26, 10};
  if (file.size() < 8 || !std::equal(kSignature, kSignature + 8, file.begin())) {
    image.error = "not a PNG file: " + path;
    return image;
  }
  int colourType = -1, bitDepth = 0, interlace = 0;
  std::vector<uint8_t> compressed;
  for (std::size_t at = 8; at + 12 <= file.size();) {
    const uint32_t length = hkpng_detail::BigEndian(&file[at]);
    const std::string type(reinterpret_cast<const char*>(&file[at + 4]), 4);
    if (at + 12 + length > file.size()) break;
    const uint8_t* data = &file[at + 8];
    if (type == "IHDR" && length >= 13) {
      image.width = hkpng_detail::BigEndian(data);
      image.height = hkpng_detail::BigEndian(data + 4);
      bitDepth = data[8];
      colourType = data[9];
      interlace = data[12];
    } else if (type == "IDAT") {
      compressed.insert(compressed.end(), data, data + length);
    }
    at += 12 + length;
  }
  if (bitDepth != 8 || (colourType != 2 && colourType != 6) || interlace != 0) {
    image.error = "unsupported PNG layout (depth " + std::to_string(bitDepth) + ", colour type " +
                  std::to_string(colourType) + ", interlace " + std::to_string(interlace) + ")";
    return image;
  }
  const int bpp = colourType == 6 ? 4 : 3;
  const std::size_t stride = static_cast<std::size_t>(image.width) * bpp;
  std::vector<uint8_t> raw((stride + 1) * image.height);
  uLongf rawSize = static_cast<uLongf>(raw.size());
  if (uncompress(raw.data(), &rawSize, compressed.data(), static_cast<uLong>(compressed.size())) != Z_OK ||
      rawSize != raw.size()) {
    image.error = "PNG image data does not inflate";
    return image;
  }
  std::vector<uint8_t> pixels;
  if (!hkpng_detail::Unfilter(raw, image.height, stride, bpp, pixels)) {
    image.error = "unknown PNG row filter";
    return image;
  }
  image.rgba.resize(static_cast<std::size_t>(image.width) * image.height * 4);
  for (std::size_t i = 0, n = static_cast<std::size_t>(image.width) * image.height; i < n; ++i) {
    for (int ch = 0; ch < 3; ++ch) image.rgba[i * 4 + ch] = pixels[i * bpp + ch];
    image.rgba[i * 4 + 3] = bpp == 4 ? pixels[i * bpp + 3] : 255;
  }
  return image;
}
