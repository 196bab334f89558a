#pragma once
// A file system over a temporary folder, installed as the process's file system for one test,
// with the log recorded; and the two text forms behind one set of calls, for typed tests.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "document/json_document_reader.h"
#include "document/json_document_writer.h"
#include "document/xml_document_reader.h"
#include "document/xml_document_writer.h"
#include "file/filesystem.h"
#include "file/log_capture.h"
#include "file/std_file_driver.h"
#include "file/temp_folder.h"
#include "foundation/globals.h"

namespace tv_test {

class DocumentTest : public LogCaptureTest {
protected:
  void SetUp() override {
    LogCaptureTest::SetUp();
    files.Mount(std::make_shared<tv::StdFileDriver>(temp.path));
    tv::filesystem = &files;
    TakeLog();
  }
  void TearDown() override {
    tv::filesystem = nullptr;
    LogCaptureTest::TearDown();
  }

  TempFolder temp;
  tv::Filesystem files;
};

struct XMLForm {
  using Reader = tv::XMLDocumentReader;
  using Writer = tv::XMLDocumentWriter;
  static constexpr const char* kExtension = "xml";
};

struct JSONForm {
  using Reader = tv::JSONDocumentReader;
  using Writer = tv::JSONDocumentWriter;
  static constexpr const char* kExtension = "json";
};

// The name of the current scope after each step of a child loop over the current scope.
inline std::vector<std::string> ChildNames(tv::DocumentReader& reader) {
  std::vector<std::string> names;
  if (!reader.EnterFirstChild()) return names;
  do {
    names.push_back(reader.GetScopeName());
  } while (reader.EnterNextSibling());
  return names;
}

} // namespace tv_test
