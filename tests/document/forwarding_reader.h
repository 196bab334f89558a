#pragma once
// A reader that passes every call on to a binary reader. A walk given it sees a reader that is not
// the binary class, so it takes the path every form shares: the oracle for the binary walk, in the
// tests and in the fuzzer.

#include <string>

#include "document/binary_document_reader.h"

namespace tv_test {

class ForwardingReader final : public tv::DocumentReader {
public:
  using DocumentReader::Read;
  explicit ForwardingReader(tv::BinaryDocumentReader& target) : target_(target) {}
  std::string GetScopeName() override { return target_.GetScopeName(); }
  bool EnterFirstChild() override { return target_.EnterFirstChild(); }
  bool EnterNextSibling() override { return target_.EnterNextSibling(); }
  bool ExitScope() override { return target_.ExitScope(); }
  bool Read(const char* name, tv::BinaryData& out) override { return target_.Read(name, out); }
  bool Read(const char* name, std::string& out) override { return target_.Read(name, out); }
  bool Read(const char* name, float& out) override { return target_.Read(name, out); }
  bool Read(const char* name, unsigned int& out) override { return target_.Read(name, out); }
  bool Read(const char* name, int& out) override { return target_.Read(name, out); }
  bool Read(const char* name, bool& out) override { return target_.Read(name, out); }
  bool IsBinary() override { return true; }
  bool Load(const std::string& path) override { return target_.Load(path); }

private:
  tv::BinaryDocumentReader& target_;
};

} // namespace tv_test
