#pragma once
// Choosing a document's form from its path or its first bytes, and making the matching reader or
// writer.

#include <memory>
#include <string>

#include "document/document_format.h"
#include "document/document_reader.h"
#include "document/document_writer.h"

namespace tv {

// By the extension, case-insensitive: "bin" binary, "json" JSON, "xml" XML. Any other path is
// opened through the file system and judged by its first bytes, with no white space skipped:
// "NBIN" binary, "{" JSON, "<" XML. A file that can't be opened logs the error "Unable to
// determine document '%1' type, file not found" and, like a file under 2 bytes, is Unknown.
DocumentFormat GuessDocumentFormatForReading(const std::string& path);
// By the extension alone: "bin" binary; "json", "scn", "mat" and "anm" JSON; "xml" XML.
DocumentFormat GuessDocumentFormatForWriting(const std::string& path);
// By the first byte of a text in memory: "{" JSON, "<" XML, else Unknown.
DocumentFormat GuessDocumentFormat(const std::string& text);

// A new, empty reader or writer of that form (guessed from the path when Unknown), or null when
// the form is still Unknown or is no form at all. Neither loads nor saves. Callers take null as a
// request for the binary form, so a file whose form can't be told is tried as binary and is
// refused by its Load.
std::unique_ptr<DocumentReader> OpenDocumentReader(const std::string& path,
                                                   DocumentFormat format = DocumentFormatUnknown);
std::unique_ptr<DocumentWriter> OpenDocumentWriter(const std::string& path,
                                                   DocumentFormat format = DocumentFormatUnknown);

} // namespace tv
