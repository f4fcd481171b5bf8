// A self-contained PNG encoder for screenshots: 8-bit RGB, deflate with
// fixed Huffman codes and matches against the previous pixel and the row
// above. Invariant: the output is a complete, valid PNG or nothing.
#ifndef TUL_WIN32_SIM_PNG_H
#define TUL_WIN32_SIM_PNG_H

#include <cstdint>
#include <string>
#include <vector>

namespace w32 {

// rgb holds width*height*3 bytes, rows top to bottom.
std::vector<uint8_t> encodePng(int width, int height, const std::vector<uint8_t>& rgb);
bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes);

}  // namespace w32

#endif
