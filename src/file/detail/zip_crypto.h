#pragma once
// Traditional zip encryption, for entries that a password protects. (The system's unzip layer is
// built without decryption, so the driver decrypts and inflates such entries itself.)

#include <cstdint>
#include <string>
#include <vector>

namespace tv::detail {

enum class DecryptResult { Ok, WrongPassword, Damaged, Unsupported };

// `raw` is the entry's stored bytes: the 12-byte encryption header, then the (compressed) data.
// `check` is the byte the header's last byte must decrypt to (high byte of the CRC, or of the file
// time for entries written with a data descriptor). On Ok, `plain` holds exactly `size` bytes whose
// CRC-32 is `crc`.
DecryptResult DecryptEntry(const std::vector<uint8_t>& raw, const std::string& password, uint8_t check,
                           int method, uint32_t crc, uint32_t size, std::vector<uint8_t>& plain);

} // namespace tv::detail
