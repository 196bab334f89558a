#pragma once
// The globals a scene needs, set up for one test: a type registry with the core's types, a task
// system with a chosen number of workers (0: every task runs where it is queued), the component
// registry and a profiler; a recording log system comes from LogCaptureTest.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "core/core_registration.h"
#include "file/log_capture.h"
#include "foundation/globals.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "reflection/type_registry.h"
#include "scene/component.h"
#include "scene/component_registry.h"
#include "scene/node.h"
#include "scene/scene.h"
#include "scene/scene_system.h"

namespace tv_test {

class SceneGlobals {
public:
  explicit SceneGlobals(uint32_t workers) {
    tv::RegisterCoreTypes(registry_);
    tv::types = &registry_;
    tv::RegisterCoreComponents(factories_);
    tv::component_factories = &factories_;
    tv::profiler = &profiler_;
    tv::task_system = &tasks_;
    if (workers != 0) tasks_.start(workers);
  }
  ~SceneGlobals() {
    tasks_.stop();
    tv::task_system = nullptr;
    tv::profiler = nullptr;
    tv::component_factories = nullptr;
    tv::types = nullptr;
  }
  SceneGlobals(const SceneGlobals&) = delete;
  SceneGlobals& operator=(const SceneGlobals&) = delete;

  tv::Profiler& profiler() { return profiler_; }

private:
  tv::TypeRegistry registry_;
  tv::ComponentFactories factories_;
  tv::Profiler profiler_;
  class tv::task_system tasks_;
};

// A component for tests: aspect and name given, a value with the deferred setter of every
// component, and a readiness to report.
class ProbeComponent : public tv::Component {
public:
  explicit ProbeComponent(std::string aspect = "Probe") : tv::Component("ProbeComponent"), aspect_(std::move(aspect)) {}
  const std::string& GetComponentName() const override {
    static const std::string name = "ProbeComponent";
    return name;
  }
  const std::string& GetAspect() const override { return aspect_; }
  uint8_t IsReady() override { return ready; }

  int GetValue() const { return value; }
  void SetValue(int new_value) {
    ApplyOrQueue([this, new_value] { value = new_value; });
  }

  int value = 0;
  uint8_t ready = 1;

private:
  std::string aspect_;
};

// A system that keeps the components of its aspect and records what it was offered and asked.
class RecordingSystem : public tv::SceneSystem, public std::enable_shared_from_this<RecordingSystem> {
public:
  explicit RecordingSystem(std::string aspect = "Probe") : aspect_(std::move(aspect)) {}
  const std::string& GetAspect() const override { return aspect_; }
  std::shared_ptr<tv::SceneSystem> shared_from_this_system() override { return shared_from_this(); }

  void Update(tv::time_ns dt) override { updates.push_back(dt); }
  void AddComponent(std::shared_ptr<tv::Component> component) override {
    ++offered;
    if (component->GetAspect() != aspect_ || !component->system.expired()) return;
    kept.push_back(component);
    tv::SceneSystem::AddComponent(std::move(component));
  }
  void RemoveComponent(const std::shared_ptr<tv::Component>& component) override {
    if (component->system.lock().get() != this) return;
    std::erase(kept, component);
    tv::SceneSystem::RemoveComponent(component);
  }

  std::vector<std::shared_ptr<tv::Component>> kept;
  std::vector<tv::time_ns> updates;
  int offered = 0;

private:
  std::string aspect_;
};

// The whole frame, blocking, with dt 0.
inline void RunFrame(tv::Scene& scene) { scene.UpdateAndCommitWaitAll(0); }

} // namespace tv_test
