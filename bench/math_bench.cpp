// Compose-and-multiply of an affine transform, the inner step of a scene's world-matrix update:
// build a local matrix from position, rotation and scale, then multiply it by its parent.
//
// Ours (Matrix4, 3 rows of 4) against glm::mat4 in the same run, in two forms: the columns written
// directly (glm's fastest form) and the usual translate × rotate × scale product. Default GLM
// configuration, same compiler flags. One operation per iteration, so the time is ns per operation.

#include <glm/ext/matrix_transform.hpp>
#include <glm/glm.hpp>

#include <cstddef>
#include <random>
#include <vector>

#include "math/matrix3.h"
#include "math/matrix4.h"
#include "ratio_reporter.h"

namespace {

constexpr size_t kCount = 1024; // inputs cycled through; all stay in L1

struct Inputs {
  std::vector<tv::Vector3> position, scale;
  std::vector<tv::Matrix3> rotation;
  std::vector<tv::Matrix4> parent;
  std::vector<glm::vec3> g_position, g_scale;
  std::vector<glm::mat3> g_rotation;
  std::vector<glm::mat4> g_parent;

  Inputs() {
    std::mt19937 engine(7);
    std::uniform_real_distribution<float> uniform(-3, 3);
    auto vector = [&] { return tv::Vector3(uniform(engine), uniform(engine), uniform(engine)); };
    for (size_t i = 0; i < kCount; ++i) {
      position.push_back(vector());
      scale.push_back(vector());
      rotation.push_back(tv::Matrix3::RotationMatrix(vector(), tv::RotationOrder::YXZ));
      parent.push_back(tv::Matrix4::TransformationMatrix(
          vector(), tv::Matrix3::RotationMatrix(vector(), tv::RotationOrder::YXZ), vector()));
    }
    // The same values for GLM: ours(r, c) is glm[c][r].
    for (size_t i = 0; i < kCount; ++i) {
      g_position.emplace_back(position[i].x, position[i].y, position[i].z);
      g_scale.emplace_back(scale[i].x, scale[i].y, scale[i].z);
      glm::mat3 r;
      glm::mat4 p(1.0f);
      for (int row = 0; row < 3; ++row)
        for (int c = 0; c < 4; ++c) {
          if (c < 3) r[c][row] = rotation[i](row, c);
          p[c][row] = parent[i](row, c);
        }
      g_rotation.push_back(r);
      g_parent.push_back(p);
    }
  }
};

const Inputs& Data() {
  static const Inputs inputs;
  return inputs;
}

void BM_ComposeMultiply_Matrix4(benchmark::State& state) {
  const Inputs& in = Data();
  size_t i = 0;
  for (auto _ : state) {
    const tv::Matrix4 local = tv::Matrix4::TransformationMatrix(in.position[i], in.rotation[i], in.scale[i]);
    tv::Matrix4 world = in.parent[i] * local;
    benchmark::DoNotOptimize(world);
    i = (i + 1) & (kCount - 1);
  }
}

void BM_ComposeMultiply_GlmMat4Columns(benchmark::State& state) {
  const Inputs& in = Data();
  size_t i = 0;
  for (auto _ : state) {
    const glm::mat3& r = in.g_rotation[i];
    const glm::vec3& s = in.g_scale[i];
    const glm::mat4 local(glm::vec4(r[0] * s.x, 0), glm::vec4(r[1] * s.y, 0), glm::vec4(r[2] * s.z, 0),
                          glm::vec4(in.g_position[i], 1));
    glm::mat4 world = in.g_parent[i] * local;
    benchmark::DoNotOptimize(world);
    i = (i + 1) & (kCount - 1);
  }
}

void BM_ComposeMultiply_GlmMat4TRS(benchmark::State& state) {
  const Inputs& in = Data();
  size_t i = 0;
  for (auto _ : state) {
    const glm::mat4 local = glm::translate(glm::mat4(1.0f), in.g_position[i]) * glm::mat4(in.g_rotation[i]) *
                            glm::scale(glm::mat4(1.0f), in.g_scale[i]);
    glm::mat4 world = in.g_parent[i] * local;
    benchmark::DoNotOptimize(world);
    i = (i + 1) & (kCount - 1);
  }
}

BENCHMARK(BM_ComposeMultiply_Matrix4)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_ComposeMultiply_GlmMat4Columns)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_ComposeMultiply_GlmMat4TRS)->Unit(benchmark::kNanosecond);

} // namespace

int main(int argc, char** argv) {
  using Ratio = tv::bench::RatioReporter::Ratio;
  return tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"compose+multiply: Matrix4 / glm::mat4, columns written", "BM_ComposeMultiply_Matrix4",
             "BM_ComposeMultiply_GlmMat4Columns", ">= 1"},
       Ratio{"compose+multiply: Matrix4 / glm::mat4, T * R * S", "BM_ComposeMultiply_Matrix4",
             "BM_ComposeMultiply_GlmMat4TRS", ">= 1"}});
}
