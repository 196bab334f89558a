#pragma once
// A marker component with no properties: something that other components or scripts aim at. The
// core gives it no behaviour.

#include <string>

#include "scene/component.h"

namespace tv {

class Target : public Component {
public:
  Target();
  const std::string& GetComponentName() const override;
  const std::string& GetAspect() const override;
};

} // namespace tv
