#include "file/detail/zip_crypto.h"

#include <zlib.h>

namespace tv::detail {
namespace {

class ZipKeys {
public:
  explicit ZipKeys(const std::string& password) : table_(get_crc_table()) {
    for (const char c : password) Update(uint8_t(c));
  }

  uint8_t Decrypt(uint8_t cipher) {
    const uint32_t temp = (keys_[2] & 0xffff) | 2;
    const uint8_t plain = cipher ^ uint8_t((temp * (temp ^ 1)) >> 8);
    Update(plain);
    return plain;
  }

private:
  void Update(uint8_t c) {
    keys_[0] = table_[(keys_[0] ^ c) & 0xff] ^ (keys_[0] >> 8);
    keys_[1] = (keys_[1] + (keys_[0] & 0xff)) * 134775813u + 1;
    keys_[2] = table_[(keys_[2] ^ (keys_[1] >> 24)) & 0xff] ^ (keys_[2] >> 8);
  }

  const z_crc_t* table_;
  uint32_t keys_[3] = {305419896u, 591751049u, 878082192u};
};

bool InflateRaw(const uint8_t* data, size_t count, std::vector<uint8_t>& out) {
  z_stream stream{};
  if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return false;
  stream.next_in = const_cast<Bytef*>(data);
  stream.avail_in = uInt(count);
  stream.next_out = out.data();
  stream.avail_out = uInt(out.size());
  const int status = inflate(&stream, Z_FINISH);
  const bool whole = status == Z_STREAM_END && stream.total_out == out.size();
  inflateEnd(&stream);
  return whole;
}

} // namespace

DecryptResult DecryptEntry(const std::vector<uint8_t>& raw, const std::string& password, uint8_t check,
                           int method, uint32_t crc, uint32_t size, std::vector<uint8_t>& plain) {
  if (raw.size() < 12) return DecryptResult::Damaged;
  ZipKeys keys(password);
  std::vector<uint8_t> data(raw.size());
  for (size_t i = 0; i < raw.size(); ++i) data[i] = keys.Decrypt(raw[i]);
  if (data[11] != check) return DecryptResult::WrongPassword;

  plain.assign(size, 0);
  const uint8_t* payload = data.data() + 12;
  const size_t payload_size = data.size() - 12;
  if (method == 0) {
    if (payload_size < size) return DecryptResult::Damaged;
    std::copy(payload, payload + size, plain.begin());
  } else if (method == Z_DEFLATED) {
    if (!InflateRaw(payload, payload_size, plain)) return DecryptResult::Damaged;
  } else {
    return DecryptResult::Unsupported;
  }
  const uLong actual = crc32(crc32(0L, Z_NULL, 0), plain.data(), uInt(plain.size()));
  return uint32_t(actual) == crc ? DecryptResult::Ok : DecryptResult::Damaged;
}

} // namespace tv::detail
