// Screenshots as PNG files: 8-bit RGB, written by stb_image_write.
// Invariant: a file is either a complete PNG of the pixels given or the
// call reports failure.
#ifndef TUL_WIN32_SIM_PNG_H
#define TUL_WIN32_SIM_PNG_H

#include <cstdint>
#include <string>
#include <vector>

namespace w32 {

// rgb holds width*height*3 bytes, rows top to bottom. False when the file
// cannot be written.
bool writePng(const std::string& path, int width, int height, const std::vector<uint8_t>& rgb);

}  // namespace w32

#endif
