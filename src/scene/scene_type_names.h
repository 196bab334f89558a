#pragma once
// Run-time names of the scene classes and of their shared pointers.

#include <memory>

#include "reflection/type_name.h"

namespace tv {

class Component;
class Metadata;
class Node;
class Scene;
class SceneSystem;
class Target;
class Transform;
class TransformSystem;

TV_TYPE_NAME(Component, "Component");
TV_TYPE_NAME(Node, "Node");
TV_TYPE_NAME(Scene, "Scene");
TV_TYPE_NAME(SceneSystem, "SceneSystem");
TV_TYPE_NAME(Transform, "Transform");
TV_TYPE_NAME(Target, "Target");
TV_TYPE_NAME(Metadata, "Metadata");
TV_TYPE_NAME(TransformSystem, "TransformSystem");

// Components and systems name their shared pointers with a leading "s".
TV_TYPE_NAME(std::shared_ptr<Transform>, "sTransform");
TV_TYPE_NAME(std::shared_ptr<Target>, "sTarget");
TV_TYPE_NAME(std::shared_ptr<Metadata>, "sMetadata");
TV_TYPE_NAME(std::shared_ptr<TransformSystem>, "sTransformSystem");

} // namespace tv
