#include <limits>

#include "document/document_reader.h"
#include "document/document_writer.h"

namespace tv {

bool DocumentReader::Read(const char*, BinaryData&) { return false; }
bool DocumentReader::IsBinary() { return false; }
bool DocumentReader::ListValues(std::vector<DocumentValueInfo>& out) {
  out.clear();
  return false;
}

namespace {

// Reads through the wider slot and stores only a value that fits the narrow target.
template <typename Narrow, typename Wide>
bool ReadNarrow(DocumentReader& reader, const char* name, Narrow& out) {
  Wide wide{};
  if (!reader.Read(name, wide)) return false;
  if (wide < Wide(std::numeric_limits<Narrow>::min()) || wide > Wide(std::numeric_limits<Narrow>::max())) return false;
  out = Narrow(wide);
  return true;
}

} // namespace

bool DocumentReader::Read(const char* name, int8_t& out) { return ReadNarrow<int8_t, int>(*this, name, out); }
bool DocumentReader::Read(const char* name, int16_t& out) { return ReadNarrow<int16_t, int>(*this, name, out); }
bool DocumentReader::Read(const char* name, uint8_t& out) { return ReadNarrow<uint8_t, unsigned>(*this, name, out); }
bool DocumentReader::Read(const char* name, uint16_t& out) { return ReadNarrow<uint16_t, unsigned>(*this, name, out); }

bool DocumentWriter::Write(const char*, const BinaryData&) { return false; }
bool DocumentWriter::IsBinary() { return false; }

} // namespace tv
