#include "ShotPng.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace {

const int kLevel = 2;  // of zlib; higher ones take far longer for little

enum Filter : uint8_t { kNone, kSub, kUp };

using Bytes = std::vector<uint8_t>;

/// The cheapest measure of how well a filtered row can be compressed.
int roughness(const uint8_t* row, int size) {
  int sum = 0;
  for (int i = 0; i < size; ++i) sum += std::abs(static_cast<int8_t>(row[i]));
  return sum;
}

void subtract(const uint8_t* row, const uint8_t* other, int size, uint8_t* result) {
  for (int i = 0; i < size; ++i) result[i] = static_cast<uint8_t>(row[i] - other[i]);
}

/// Returns all rows, each filtered and after the number of its filter.
QByteArray filteredRows(const QImage& image) {
  const int pixelBytes = image.depth() / 8;
  const int size = image.width() * pixelBytes;
  QByteArray result(image.height() * (1 + size), Qt::Uninitialized);
  auto* out = reinterpret_cast<uint8_t*>(result.data());
  // Each row begins with the pixel that the format assumes on its left.
  Bytes row(static_cast<size_t>(pixelBytes + size)), above(row), sub(row), up(row);
  const uint8_t* const pixels[] = {nullptr, sub.data(), up.data()};
  for (int y = 0; y < image.height(); ++y, out += 1 + size) {
    uint8_t* const plain = row.data() + pixelBytes;
    memcpy(plain, image.constScanLine(y), static_cast<size_t>(size));
    subtract(plain, row.data(), size, sub.data());
    subtract(plain, above.data() + pixelBytes, size, up.data());
    const std::pair<int, Filter> best = std::min({std::pair(roughness(up.data(), size), kUp),
                                                  std::pair(roughness(sub.data(), size), kSub),
                                                  std::pair(roughness(plain, size), kNone)});
    out[0] = best.second;
    memcpy(out + 1, best.second == kNone ? plain : pixels[best.second], static_cast<size_t>(size));
    row.swap(above);
  }
  return result;
}

uint32_t checksum(const QByteArray& bytes) {
  static const auto table = [] {
    std::array<uint32_t, 256> all{};
    for (uint32_t i = 0; i < all.size(); ++i) {
      all[i] = i;
      for (int bit = 0; bit < 8; ++bit) all[i] = (all[i] >> 1) ^ (all[i] & 1 ? 0xedb88320 : 0);
    }
    return all;
  }();
  uint32_t sum = 0xffffffff;
  for (const char byte : bytes) sum = table[(sum ^ static_cast<uint8_t>(byte)) & 0xff] ^ (sum >> 8);
  return ~sum;
}

QByteArray number(uint32_t value) {
  QByteArray bytes(sizeof(value), Qt::Uninitialized);
  qToBigEndian(value, bytes.data());
  return bytes;
}

QByteArray chunk(const char* type, const QByteArray& data) {
  const QByteArray content = type + data;
  return number(static_cast<uint32_t>(data.size())) + content + number(checksum(content));
}

}  // namespace

QByteArray toPng(const QImage& image) {
  const bool hasAlpha = image.hasAlphaChannel();
  const QImage rgb =
      image.convertToFormat(hasAlpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
  const QByteArray size =
      number(static_cast<uint32_t>(rgb.width())) + number(static_cast<uint32_t>(rgb.height()));
  const QByteArray eightBits(hasAlpha ? "\x08\x06\x00\x00\x00" : "\x08\x02\x00\x00\x00", 5);
  // qCompress puts the size before what zlib makes.
  const QByteArray compressed = qCompress(filteredRows(rgb), kLevel).mid(sizeof(uint32_t));
  return "\x89PNG\r\n\x1a\n" + chunk("IHDR", size + eightBits) + chunk("IDAT", compressed) +
         chunk("IEND", QByteArray());
}
