#include "scene/transform.h"

#include <cmath>

#include "scene/node.h"
#include "scene/transform_system.h"

namespace tv {

void DecomposeMatrix(const Matrix4& m, Vector3& position, Vector3& rotation, Vector3& scale) {
  position = m.GetTranslation();
  Vector3 axes[3] = {m.GetColumn(0), m.GetColumn(1), m.GetColumn(2)};
  scale = Vector3(axes[0].Length(), axes[1].Length(), axes[2].Length());
  const float lengths[3] = {scale.x, scale.y, scale.z};
  for (int i = 0; i < 3; ++i)
    if (lengths[i] > 0) axes[i] = axes[i] * (1.0f / lengths[i]);
  // A degenerate axis is rebuilt from the other two, so the angles stay meaningful.
  if (lengths[0] == 0) axes[0] = Cross(axes[1], axes[2]);
  if (lengths[1] == 0) axes[1] = Cross(axes[2], axes[0]);
  if (lengths[2] == 0) axes[2] = Cross(axes[0], axes[1]);
  if (Dot(Cross(axes[0], axes[1]), axes[2]) < 0) {
    scale.x = -scale.x;
    axes[0] = axes[0] * -1.0f;
  }
  rotation = Matrix3::FromColumns(axes[0], axes[1], axes[2]).GetEulerAngles(RotationOrder::YXZ);
}

namespace {
const std::string kTransformName = "Transform";
} // namespace

Transform::Transform() : Component(kTransformName) {}

Transform::Transform(const Vector3& local_position, const Vector3& local_rotation, const Vector3& local_scale)
    : Component(kTransformName), position(local_position), rotation(local_rotation), scale(local_scale) {}

Transform::Transform(const Matrix4& world) : Component(kTransformName) { commit_SetWorld(world); }

const std::string& Transform::GetComponentName() const { return kTransformName; }
const std::string& Transform::GetAspect() const { return kTransformName; }

void Transform::SetPosition(const Vector3& local_position) {
  ApplyOrQueue([this, local_position] { position = local_position; });
}

void Transform::SetRotation(const Vector3& local_rotation) {
  ApplyOrQueue([this, local_rotation] { rotation = local_rotation; });
}

void Transform::SetScale(const Vector3& local_scale) {
  ApplyOrQueue([this, local_scale] { scale = local_scale; });
}

void Transform::SetRotationMatrix(const Matrix3& local_rotation) {
  SetRotation(local_rotation.GetEulerAngles(RotationOrder::YXZ));
}

void Transform::SetParent(const std::shared_ptr<Node>& parent_node) {
  ApplyOrQueue([this, link = std::weak_ptr<Node>(parent_node)] {
    parent = link;
    if (TransformSystem* owner = GetTransformSystem()) owner->InvalidatePlan();
  });
}

void Transform::SetLocal(const Matrix4& local) {
  ApplyOrQueue([this, local] { commit_SetLocal(local); });
}

void Transform::SetWorld(const Matrix4& world) {
  ApplyOrQueue([this, world] { commit_SetWorld(world); });
}

void Transform::TransformBy(const Matrix4& m) { SetWorld(GetWorld() * m); }

void Transform::commit_SetLocal(const Matrix4& local) { DecomposeMatrix(local, position, rotation, scale); }

void Transform::commit_SetWorld(const Matrix4& world) {
  Matrix4 local = world;
  if (const std::shared_ptr<Node> parent_node = parent.lock()) {
    if (const std::shared_ptr<Transform> parent_transform = parent_node->GetTransform())
      local = parent_transform->GetWorld().Inverse() * world;
  }
  DecomposeMatrix(local, position, rotation, scale);
}

Matrix4 Transform::GetLocal() const {
  return Matrix4::TransformationMatrix(position, Matrix3::RotationMatrix(rotation, RotationOrder::YXZ), scale);
}

TransformSystem* Transform::GetTransformSystem() const {
  // Only a TransformSystem takes components of the aspect "Transform".
  return static_cast<TransformSystem*>(system.lock().get());
}

Matrix4 Transform::GetWorld() const {
  if (const TransformSystem* owner = GetTransformSystem()) return owner->current_world[index];
  return GetLocal();
}

Matrix4 Transform::GetPreviousWorld() const {
  if (const TransformSystem* owner = GetTransformSystem()) return owner->previous_world[index];
  return GetLocal();
}

} // namespace tv
