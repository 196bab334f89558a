#pragma once
// The writing side of the document interface. `EnterScope` always adds a new child scope and makes
// it current; `Write` adds a value to the current scope; `ExitScope` at the root answers false.
// The whole document stays in memory until `Save`. One thread uses a writer at a time.
//
// The order of the virtual operations is part of the module contract. Derived classes that
// override `Write` bring the narrow forms back into scope with `using DocumentWriter::Write;`.

#include <cstdint>
#include <string>

#include "foundation/binary_data.h"

namespace tv {

class DocumentWriter {
public:
  virtual ~DocumentWriter() = default;
  virtual bool EnterScope(const char* name) = 0;
  virtual bool ExitScope() = 0;
  // Binary blocks exist only in the binary form; the text forms answer false and write nothing.
  virtual bool Write(const char* name, const BinaryData& value);
  virtual bool Write(const char* name, const std::string& value) = 0;
  virtual bool Write(const char* name, float value) = 0;
  virtual bool Write(const char* name, unsigned int value) = 0;
  virtual bool Write(const char* name, int value) = 0;
  virtual bool Write(const char* name, bool value) = 0;
  virtual bool IsBinary();
  // Writes the whole document through the file system; false if it can't be written.
  virtual bool Save(const std::string& path) = 0;

  // A string literal would otherwise take the bool slot (pointer to bool beats the conversion to
  // std::string).
  bool Write(const char* name, const char* value) { return Write(name, std::string(value)); }
  // Narrow writes widen the value into the int or unsigned slot.
  bool Write(const char* name, int8_t value) { return Write(name, int(value)); }
  bool Write(const char* name, int16_t value) { return Write(name, int(value)); }
  bool Write(const char* name, uint8_t value) { return Write(name, unsigned(value)); }
  bool Write(const char* name, uint16_t value) { return Write(name, unsigned(value)); }
};

} // namespace tv
