#include "foundation/profiler.h"

#include <algorithm>
#include <cstdio>

#include "foundation/globals.h"

namespace tv {

uint32_t ProfilerNameHash(std::string_view name) {
  uint32_t hash = 0x811c9dc5u;
  for (const char c : name) {
    hash ^= uint8_t(c);
    hash *= 16777619u;
  }
  return hash;
}

uint32_t Profiler::BeginSection(std::string_view name, std::string_view details) {
  // Hashed outside the lock: it needs nothing shared.
  std::vector<uint32_t>& bucket = buckets[ProfilerNameHash(name) & (kBucketCount - 1)];
  std::lock_guard<std::mutex> lock(mutex);
  uint32_t name_index = UINT32_MAX;
  for (const uint32_t candidate : bucket)
    if (names[candidate].name == name) {
      name_index = candidate;
      break;
    }
  if (name_index == UINT32_MAX) {
    name_index = uint32_t(names.size());
    names.push_back(ProfilerName{std::string(name), {}});
    bucket.push_back(name_index);
  }
  // The clock is read under the lock, so that sections' starts never decrease with their index.
  const uint32_t index = uint32_t(sections.size());
  sections.push_back(ProfilerSection{std::this_thread::get_id(), time_since_start(), 0, std::string(details)});
  names[name_index].sections.push_back(index);
  return index;
}

void Profiler::EndSection(uint32_t index) {
  std::lock_guard<std::mutex> lock(mutex);
  if (index < sections.size() && sections[index].start != 0) sections[index].end = time_since_start();
}

void Profiler::EndFrame() {
  std::lock_guard<std::mutex> lock(mutex);
  const time_ns now = time_since_start();
  last_frame.frame = frame;
  last_frame.tasks.clear();
  if (names.empty()) {
    last_frame.sections.clear();
    last_frame.start = 0;
    last_frame.end = 0;
  } else {
    // assign() reuses the previous frame's storage, strings included.
    last_frame.sections.assign(sections.begin(), sections.end());
    time_ns start = INT64_MAX;
    time_ns end = INT64_MIN;
    for (ProfilerSection& section : last_frame.sections) {
      if (section.end == 0) section.end = now;
      start = std::min(start, section.start);
      end = std::max(end, section.end);
    }
    last_frame.start = start;
    last_frame.end = end;
    last_frame.tasks.reserve(names.size());
    for (const ProfilerName& name : names) {
      ProfilerTask task{name.name, 0, name.sections};
      for (const uint32_t index : name.sections) task.duration += last_frame.sections[index].end - last_frame.sections[index].start;
      last_frame.tasks.push_back(std::move(task));
    }
    // std::string compares as unsigned char: byte-wise order.
    std::sort(last_frame.tasks.begin(), last_frame.tasks.end(),
              [](const ProfilerTask& a, const ProfilerTask& b) { return a.name < b.name; });
  }
  for (std::vector<uint32_t>& bucket : buckets) bucket.clear();
  names.clear();
  sections.clear();
  ++frame;
}

ProfilerPerfSection::ProfilerPerfSection(std::string_view name, std::string_view details) {
  if (profiler == nullptr) return;
  index = profiler->BeginSection(name, details);
  active = true;
}

void ProfilerPerfSection::End() {
  if (!active) return;
  active = false;
  if (profiler != nullptr) profiler->EndSection(index);
}

std::string FormatProfilerFrame(const ProfilerFrame& frame) {
  size_t width = 0;
  for (const ProfilerTask& task : frame.tasks) width = std::max(width, task.name.size());
  std::string text;
  for (const ProfilerTask& task : frame.tasks) {
    char figures[64];
    std::snprintf(figures, sizeof(figures), "  %10.3f ms  %zu\n", double(task.duration) / 1e6, task.sections.size());
    text += task.name;
    text.append(width - task.name.size(), ' ');
    text += figures;
  }
  return text;
}

} // namespace tv
