#pragma once
// Open files. A FileHandle does its work by calling back into the driver that made it and keeps
// that driver alive; its recursive mutex makes each call atomic (a sequence of calls isn't).
// Handles are held by std::shared_ptr. Sizes and positions are 32-bit: files up to 2 GiB - 1.

#include <cstdint>
#include <memory>
#include <mutex>

namespace tv {

class FileDriver;

enum class FileMode : uint32_t { Read = 0, Write = 1 };
enum class SeekRef : uint32_t { Start = 0, Current = 1, End = 2 };

class BaseFileHandle {
public:
  virtual ~BaseFileHandle();
  virtual uint32_t GetSize() = 0;
  virtual void Rewind() = 0;
  virtual bool IsEOF() = 0;
  virtual uint32_t Tell() = 0;
  // 0 on success, -1 on failure; not a position.
  virtual int Seek(int offset, SeekRef ref) = 0;
  virtual uint32_t Read(void* buffer, uint32_t size) = 0;
  virtual uint32_t Write(const void* data, uint32_t size) = 0;
};

class FileHandle : public BaseFileHandle {
public:
  // `driver` may be null for a handle that does its own work (a segment of another handle).
  explicit FileHandle(std::shared_ptr<FileDriver> driver);
  // Closes through the driver, then releases it.
  ~FileHandle() override;

  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  uint32_t GetSize() override;
  void Rewind() override;
  bool IsEOF() override;
  uint32_t Tell() override;
  int Seek(int offset, SeekRef ref) override;
  uint32_t Read(void* buffer, uint32_t size) override;
  uint32_t Write(const void* data, uint32_t size) override;

  std::recursive_mutex mutex;
  std::shared_ptr<FileDriver> driver;

protected:
  // Closes through the driver and releases it; idempotent. A derived handle whose driver needs
  // its derived state in Close() calls this from its own destructor, while it is still whole.
  void CloseThroughDriver();
};

} // namespace tv
