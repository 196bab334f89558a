#pragma once
// A component of aspect "TransformModifier" changes its node's world matrix after each evaluation.
// The core has none; a module that offers one derives from this class, whose Modify is the slot
// right after the component's own seven (the slot order is the contract between modules).

#include "math/matrix4.h"
#include "scene/component.h"

namespace tv {

class TransformModifier : public Component {
public:
  // Changes `world`, the node's row of the evaluation just finished.
  virtual void Modify(Matrix4& world) = 0;

protected:
  using Component::Component;
};

} // namespace tv
