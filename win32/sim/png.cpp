// PNG encoding with a small deflate of its own (RFC 1950/1951/2083): one
// fixed-Huffman block, with back-references only to the previous pixel and
// to the row above, which is what flat window pictures repeat.
// Invariant: every match found is verified byte by byte, so the compressed
// stream always inflates to exactly the filtered image.
#include "sim/png.h"

#include <algorithm>
#include <cstdio>

namespace w32 {

namespace {

class BitWriter {
 public:
  explicit BitWriter(std::vector<uint8_t>* out) : out_(out) {}
  // Least significant bit first, as deflate packs everything but codes.
  void bits(uint32_t value, int count) {
    for (int i = 0; i < count; ++i) {
      acc_ |= ((value >> i) & 1u) << used_;
      if (++used_ == 8) flushByte();
    }
  }
  // Huffman codes go most significant bit first.
  void code(uint32_t value, int count) {
    for (int i = count - 1; i >= 0; --i) bits((value >> i) & 1u, 1);
  }
  void finish() {
    if (used_) flushByte();
  }

 private:
  void flushByte() {
    out_->push_back(static_cast<uint8_t>(acc_));
    acc_ = 0;
    used_ = 0;
  }
  std::vector<uint8_t>* out_;
  uint32_t acc_ = 0;
  int used_ = 0;
};

void literal(BitWriter& w, int symbol) {
  if (symbol < 144) w.code(static_cast<uint32_t>(0x30 + symbol), 8);
  else if (symbol < 256) w.code(static_cast<uint32_t>(0x190 + symbol - 144), 9);
  else if (symbol < 280) w.code(static_cast<uint32_t>(symbol - 256), 7);
  else w.code(static_cast<uint32_t>(0xC0 + symbol - 280), 8);
}

const int kLengthBase[] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                           31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
const int kLengthExtra[] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                            2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
const int kDistBase[] = {1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
                         193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
const int kDistExtra[] = {0, 0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6,
                          6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};

void match(BitWriter& w, int length, int distance) {
  int li = 28;
  while (kLengthBase[li] > length) --li;
  literal(w, 257 + li);
  w.bits(static_cast<uint32_t>(length - kLengthBase[li]), kLengthExtra[li]);
  int di = 29;
  while (kDistBase[di] > distance) --di;
  w.code(static_cast<uint32_t>(di), 5);
  w.bits(static_cast<uint32_t>(distance - kDistBase[di]), kDistExtra[di]);
}

std::vector<uint8_t> deflate(const std::vector<uint8_t>& data, int rowBytes) {
  std::vector<uint8_t> out{0x78, 0x01};
  BitWriter w(&out);
  w.bits(1, 1);  // final block
  w.bits(1, 2);  // fixed Huffman codes
  const int candidates[] = {3, rowBytes};
  size_t i = 0;
  while (i < data.size()) {
    int bestLength = 0, bestDistance = 0;
    for (int d : candidates) {
      if (d <= 0 || d > 32768 || static_cast<size_t>(d) > i) continue;
      size_t limit = std::min<size_t>(258, data.size() - i);
      size_t n = 0;
      while (n < limit && data[i + n] == data[i + n - static_cast<size_t>(d)]) ++n;
      if (static_cast<int>(n) > bestLength) {
        bestLength = static_cast<int>(n);
        bestDistance = d;
      }
    }
    if (bestLength >= 3) {
      match(w, bestLength, bestDistance);
      i += static_cast<size_t>(bestLength);
    } else {
      literal(w, data[i++]);
    }
  }
  literal(w, 256);
  w.finish();
  uint32_t a = 1, b = 0;
  for (uint8_t byte : data) {
    a = (a + byte) % 65521;
    b = (b + a) % 65521;
  }
  uint32_t adler = (b << 16) | a;
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(adler >> shift));
  return out;
}

uint32_t crc32(const uint8_t* p, size_t n, uint32_t crc = 0xFFFFFFFFu) {
  for (size_t i = 0; i < n; ++i) {
    crc ^= p[i];
    for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return crc;
}

void put32(std::vector<uint8_t>* out, uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8) out->push_back(static_cast<uint8_t>(v >> shift));
}

void chunk(std::vector<uint8_t>* out, const char type[4], const std::vector<uint8_t>& body) {
  put32(out, static_cast<uint32_t>(body.size()));
  size_t start = out->size();
  out->insert(out->end(), type, type + 4);
  out->insert(out->end(), body.begin(), body.end());
  put32(out, crc32(out->data() + start, out->size() - start) ^ 0xFFFFFFFFu);
}

}  // namespace

std::vector<uint8_t> encodePng(int width, int height, const std::vector<uint8_t>& rgb) {
  const int rowBytes = width * 3 + 1;
  std::vector<uint8_t> filtered;
  filtered.reserve(static_cast<size_t>(rowBytes) * static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) {
    filtered.push_back(0);  // filter type None
    auto row = rgb.begin() + static_cast<long>(y) * width * 3;
    filtered.insert(filtered.end(), row, row + width * 3);
  }
  std::vector<uint8_t> png{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::vector<uint8_t> header;
  put32(&header, static_cast<uint32_t>(width));
  put32(&header, static_cast<uint32_t>(height));
  header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, no filter, no interlace
  chunk(&png, "IHDR", header);
  chunk(&png, "IDAT", deflate(filtered, rowBytes));
  chunk(&png, "IEND", {});
  return png;
}

bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) return false;
  bool ok = fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return fclose(f) == 0 && ok;
}

}  // namespace w32
