#pragma once
// The reading side of the document interface: a tree of named scopes holding named typed values.
//
// A reader starts at the root scope ("root"). `Read` looks only in the current scope, finds the
// first value of that name and answers false, leaving `out` unchanged, when it is missing or of
// another kind. The child loop is EnterFirstChild, then EnterNextSibling while it answers true;
// after the loop the parent is current again. One thread uses a reader at a time.
//
// The order of the virtual operations is part of the module contract. Derived classes that
// override `Read` bring the narrow forms back into scope with `using DocumentReader::Read;`.

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/binary_data.h"

namespace tv {

// What a value of the current scope holds, as far as the reader can tell: the kind whose `Read`
// takes it. `DocumentValueOther` is a value that no `Read` takes (a JSON array, null, or a number
// beyond 32 bits).
enum DocumentValueKind : int32_t {
  DocumentValueBool = 0,
  DocumentValueInt = 1,
  DocumentValueUnsigned = 2,
  DocumentValueFloat = 3,
  DocumentValueString = 4,
  DocumentValueBinary = 5,
  DocumentValueOther = 6,
};

struct DocumentValueInfo {
  std::string name;
  DocumentValueKind kind = DocumentValueOther;
};

class DocumentReader {
public:
  virtual ~DocumentReader() = default;
  virtual std::string GetScopeName() = 0;
  virtual bool EnterFirstChild() = 0;
  virtual bool EnterNextSibling() = 0;
  virtual bool ExitScope() = 0;
  // Binary blocks exist only in the binary form; the text forms answer false.
  virtual bool Read(const char* name, BinaryData& out);
  virtual bool Read(const char* name, std::string& out) = 0;
  virtual bool Read(const char* name, float& out) = 0;
  virtual bool Read(const char* name, unsigned int& out) = 0;
  virtual bool Read(const char* name, int& out) = 0;
  virtual bool Read(const char* name, bool& out) = 0;
  // True when binary blocks are available, so a serializer can pick its layout.
  virtual bool IsBinary();
  // Reads the whole file through the file system; false if it can't be read or parsed. Loading
  // again restarts at the root.
  virtual bool Load(const std::string& path) = 0;

  // Not one of the interface's fixed slots: an addition behind them, so that the slots above keep
  // their order. Replaces `out` with the values of the current scope in document order, repeated
  // names included, for tools that show a document whose names they don't know. False (and `out`
  // emptied) when the reader can't list values.
  virtual bool ListValues(std::vector<DocumentValueInfo>& out);

  // Narrow reads go through the int or unsigned slot and refuse values out of the target's range,
  // leaving the target unchanged.
  bool Read(const char* name, int8_t& out);
  bool Read(const char* name, int16_t& out);
  bool Read(const char* name, uint8_t& out);
  bool Read(const char* name, uint16_t& out);
};

} // namespace tv
