#include "scene/metadata.h"

namespace tv {
namespace {
const std::string kMetadataName = "Metadata";
} // namespace

Metadata::Metadata() : Component(kMetadataName) {}

const std::string& Metadata::GetComponentName() const { return kMetadataName; }
const std::string& Metadata::GetAspect() const { return kMetadataName; }

void Metadata::SetData(const std::string& text) {
  ApplyOrQueue([this, text] { data = text; });
}

} // namespace tv
