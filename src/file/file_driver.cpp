#include "file/file_driver.h"

#include <openssl/evp.h>

#include <memory>

namespace tv {

FileDriver::~FileDriver() = default;

std::string FileDriver::FileHash(const std::string& path) {
  std::shared_ptr<FileHandle> handle = Open(path, FileMode::Read);
  if (!handle) return std::string();

  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
  if (!context || EVP_DigestInit_ex(context.get(), EVP_sha1(), nullptr) != 1) return std::string();

  // Stream the file through the digest; the result counts only if every byte was read.
  const uint32_t size = handle->GetSize();
  std::vector<unsigned char> chunk(64 * 1024);
  uint64_t total = 0;
  for (;;) {
    const uint32_t got = handle->Read(chunk.data(), uint32_t(chunk.size()));
    if (got == 0) break;
    EVP_DigestUpdate(context.get(), chunk.data(), got);
    total += got;
    if (total > size) break;
  }
  if (total != size) return std::string();

  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int digest_size = 0;
  if (EVP_DigestFinal_ex(context.get(), digest, &digest_size) != 1) return std::string();
  static const char kHex[] = "0123456789abcdef";
  std::string text;
  text.reserve(digest_size * 2);
  for (unsigned int i = 0; i < digest_size; ++i) {
    text += kHex[digest[i] >> 4];
    text += kHex[digest[i] & 15];
  }
  return text;
}

std::string FileDriver::MapToAbsolute(const std::string& path) { return path; }
std::string FileDriver::MapToRelative(const std::string& path) { return path; }

std::vector<DirEntry> FileDriver::Dir(const std::string&, const std::string&, uint32_t) { return {}; }
bool FileDriver::IsDir(const std::string&) { return false; }
std::shared_ptr<void> FileDriver::GetOption(uint32_t) { return nullptr; }
std::string FileDriver::GetOptionText(uint32_t) { return std::string(); }

} // namespace tv
