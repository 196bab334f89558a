#pragma once
// Free text attached to a node or a scene, for tools and scripts; the core gives it no meaning.

#include <string>

#include "scene/component.h"

namespace tv {

class Metadata : public Component {
public:
  Metadata();

  const std::string& GetComponentName() const override;
  const std::string& GetAspect() const override;

  const std::string& GetData() const { return data; }
  // Deferred.
  void SetData(const std::string& text);

  std::string data;
};

} // namespace tv
