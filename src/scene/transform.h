#pragma once
// The component that places a node: local position, rotation (Euler angles in radians, order YXZ)
// and scale, and the parent link, which is the whole node hierarchy.
//
// World matrices live in the TransformSystem's rows (see there): GetWorld reads the row of the
// last evaluation, which the next WaitUpdate of the scene guarantees to be finished. Setters follow
// the deferred rule of every component.

#include <cstdint>
#include <memory>
#include <string>

#include "math/matrix3.h"
#include "math/matrix4.h"
#include "math/vector3.h"
#include "scene/component.h"

namespace tv {

class Node;
class TransformSystem;

class Transform : public Component {
public:
  Transform();
  Transform(const Vector3& local_position, const Vector3& local_rotation, const Vector3& local_scale);
  // Places the transform so that its world matrix is `world` (SetWorld).
  explicit Transform(const Matrix4& world);

  const std::string& GetComponentName() const override;
  const std::string& GetAspect() const override;

  const Vector3& GetPosition() const { return position; }
  const Vector3& GetRotation() const { return rotation; }
  const Vector3& GetScale() const { return scale; }
  std::shared_ptr<Node> GetParent() const { return parent.lock(); }

  // Deferred.
  void SetPosition(const Vector3& local_position);
  void SetRotation(const Vector3& local_rotation);
  void SetScale(const Vector3& local_scale);
  // Converted to Euler angles (YXZ) now, applied as SetRotation.
  void SetRotationMatrix(const Matrix3& local_rotation);
  void SetParent(const std::shared_ptr<Node>& parent_node);
  // Position, scale and rotation (YXZ) taken from `local`; a shear is lost.
  void SetLocal(const Matrix4& local);
  // The local fields that make the world matrix `world` under the parent's current world matrix.
  void SetWorld(const Matrix4& world);
  // SetWorld(GetWorld() * m).
  void TransformBy(const Matrix4& m);

  // In a system: its row of the last evaluation. Else the local matrix, the parent ignored.
  Matrix4 GetWorld() const;
  // In a system: its row of the evaluation before the last. Else as GetWorld.
  Matrix4 GetPreviousWorld() const;
  // TransformationMatrix(position, rotation in order YXZ, scale).
  Matrix4 GetLocal() const;

  // The immediate forms.
  void commit_SetLocal(const Matrix4& local);
  void commit_SetWorld(const Matrix4& world);

  Vector3 position;
  Vector3 rotation;
  Vector3 scale{1, 1, 1};
  uint32_t index = 0;  // row in the system's arrays; meaningful once the transform joined one
  std::weak_ptr<Node> parent;

private:
  TransformSystem* GetTransformSystem() const;
};

// Splits `m` into translation, axis lengths and Euler angles (order YXZ). An axis of length 0
// gives a rotation taken from the others; a mirrored matrix gets a negative x scale.
void DecomposeMatrix(const Matrix4& m, Vector3& position, Vector3& rotation, Vector3& scale);

} // namespace tv
