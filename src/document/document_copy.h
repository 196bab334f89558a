#pragma once
// Copies a document from a reader into a writer of any form, through the document interface
// alone: the values of each scope as ListValues finds them, read by their kind and written in
// the same kind, then its child scopes in order, depth first.
//
// What a copy keeps: every scope with its name, in order, and every value with its name, kind and
// value, in order. What it cannot keep, by the nature of the interface and the forms:
// - Values come before the child scopes of their scope: where a JSON or binary scope mixes them,
//   the values move to the front.
// - A value whose name came earlier in its scope is not copied: no reader reaches it, as a read
//   finds the first of a name.
// - XML carries no kinds: a value goes over as the first kind its text reads as. The XML reader's
//   scopes named "**invalid**" (comments, text) are no data and are not copied.
// - At the start scope, a child "Document" with no child scope and exactly the values of the start
//   scope is not copied: it is where XML keeps the root's values, which the reader shows both as
//   the root's values and as a scope, and which an XML writer makes again from the root's values.
// - JSON rounds floats up to 4 decimals, and XML keeps 8 significant digits.
//
// What a copy refuses, answering false with `error` set to one line that names the value and its
// scope: a binary block for a writer that is not binary (only the binary form holds blocks, and
// dropping one would lose data silently), a value of a kind that no read takes (a JSON array or
// null), a listed value that can't be read (hidden by an earlier scope of its name), a reader that
// can't list values, and a write the writer refuses. The writer then holds part of the document
// and must not be saved.

#include <string>

#include "document/document_reader.h"
#include "document/document_writer.h"

namespace tv {

// Copies the content of the reader's current scope (its root, after Load) into the writer's current
// scope. Both stand where they started when it answers true.
bool CopyDocument(DocumentReader& reader, DocumentWriter& writer, std::string& error);

} // namespace tv
