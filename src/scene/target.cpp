#include "scene/target.h"

namespace tv {
namespace {
const std::string kTargetName = "Target";
} // namespace

Target::Target() : Component(kTargetName) {}

const std::string& Target::GetComponentName() const { return kTargetName; }
const std::string& Target::GetAspect() const { return kTargetName; }

} // namespace tv
