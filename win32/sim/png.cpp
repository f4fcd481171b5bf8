// PNG files through stb_image_write (Debian's libstb-dev, a header-only
// library): its implementation is compiled here, once, with internal
// linkage, so nothing of it is exported from the layer.
#include "sim/png.h"

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

namespace w32 {

namespace {

constexpr int kRgbComponents = 3;

}  // namespace

bool writePng(const std::string& path, int width, int height, const std::vector<uint8_t>& rgb) {
  if (rgb.size() != static_cast<size_t>(width) * static_cast<size_t>(height) * kRgbComponents)
    return false;
  return stbi_write_png(path.c_str(), width, height, kRgbComponents, rgb.data(),
                        width * kRgbComponents) != 0;
}

}  // namespace w32
