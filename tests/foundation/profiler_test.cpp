#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "foundation/clock.h"
#include "foundation/globals.h"
#include "foundation/profiler.h"

namespace {

class ProfilerTest : public ::testing::Test {
protected:
  void SetUp() override { tv::profiler = &profiler; }
  void TearDown() override { tv::profiler = nullptr; }

  const tv::ProfilerTask* FindTask(const std::string& name) const {
    for (const tv::ProfilerTask& task : profiler.last_frame.tasks)
      if (task.name == name) return &task;
    return nullptr;
  }
  void Section(const std::string& name) { profiler.EndSection(profiler.BeginSection(name, "")); }
  tv::time_ns Duration(uint32_t index) const {
    return profiler.last_frame.sections[index].end - profiler.last_frame.sections[index].start;
  }

  tv::Profiler profiler;
};

uint32_t BucketOf(const std::string& name) { return tv::ProfilerNameHash(name) & 0xffu; }

TEST(ProfilerNameHash, IsFnv1a32) {
  EXPECT_EQ(tv::ProfilerNameHash(""), 0x811c9dc5u);
  EXPECT_EQ(tv::ProfilerNameHash("foobar"), 0xbf9cf968u);
  EXPECT_EQ(tv::ProfilerNameHash("\xff"), (0x811c9dc5u ^ 0xffu) * 16777619u);  // bytes enter unsigned
}

// Sections are numbered in opening order with their thread, start and details, and filed under
// their name's bucket; only a valid index closes one.
TEST_F(ProfilerTest, BeginAndEndSection) {
  const tv::time_ns before = tv::time_since_start();
  EXPECT_EQ(profiler.BeginSection("update", "physics step"), 0u);
  EXPECT_EQ(profiler.BeginSection("render", ""), 1u);
  ASSERT_EQ(profiler.sections.size(), 2u);
  const tv::ProfilerSection& section = profiler.sections[0];
  EXPECT_EQ(section.thread, std::this_thread::get_id());
  EXPECT_GE(section.start, before);
  EXPECT_LE(section.start, profiler.sections[1].start);
  EXPECT_EQ(section.details, "physics step");
  ASSERT_EQ(profiler.names.size(), 2u);
  EXPECT_EQ(profiler.names[1].name, "render");
  EXPECT_EQ(profiler.names[0].sections, std::vector<uint32_t>{0});
  EXPECT_EQ(profiler.buckets[BucketOf("update")], std::vector<uint32_t>{0});

  profiler.EndSection(2);
  profiler.EndSection(UINT32_MAX);
  EXPECT_EQ(profiler.sections[1].end, 0);
  EXPECT_EQ(profiler.sections.size(), 2u);
  profiler.EndSection(1);
  EXPECT_GE(profiler.sections[1].end, profiler.sections[1].start);
  EXPECT_NE(profiler.sections[1].end, 0);
}

// Sections of one name make one task with the summed duration; the frame spans its sections; a
// section left open ends with its frame and can't be closed after it.
TEST_F(ProfilerTest, EndFrameMakesTasksAndClosesOpenSections) {
  const uint32_t a = profiler.BeginSection("cull", "first");
  profiler.EndSection(a);
  Section("draw");
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const uint32_t b = profiler.BeginSection("cull", "second");
  profiler.EndSection(b);
  const uint32_t open = profiler.BeginSection("stream", "");
  const tv::time_ns before = tv::time_since_start();
  profiler.EndFrame();
  const tv::time_ns after = tv::time_since_start();

  const tv::ProfilerFrame& frame = profiler.last_frame;
  ASSERT_EQ(frame.tasks.size(), 3u);
  const tv::ProfilerTask* cull = FindTask("cull");
  ASSERT_NE(cull, nullptr);
  EXPECT_EQ(cull->sections, (std::vector<uint32_t>{a, b}));
  EXPECT_EQ(cull->duration, Duration(a) + Duration(b));
  EXPECT_EQ(frame.sections[b].details, "second");
  EXPECT_EQ(frame.start, frame.sections[a].start);
  EXPECT_GE(frame.sections[open].end, before);
  EXPECT_LE(frame.sections[open].end, after);
  EXPECT_EQ(frame.end, frame.sections[open].end);
  EXPECT_EQ(FindTask("stream")->duration, Duration(open));
  profiler.EndSection(open);
  EXPECT_TRUE(profiler.sections.empty());
}

// Frames count up; an empty frame has no span and keeps nothing of the busy one before it; the
// tables empty but keep their storage, and numbering starts over.
TEST_F(ProfilerTest, FramesCountAndStartOver) {
  profiler.EndFrame();
  EXPECT_EQ(profiler.frame, 1u);
  EXPECT_EQ(profiler.last_frame.frame, 0u);
  EXPECT_EQ(profiler.last_frame.start, 0);
  for (int i = 0; i < 100; ++i) Section("n" + std::to_string(i));
  const size_t section_capacity = profiler.sections.capacity();
  const size_t name_capacity = profiler.names.capacity();
  profiler.EndFrame();
  EXPECT_EQ(profiler.last_frame.frame, 1u);
  EXPECT_EQ(profiler.last_frame.tasks.size(), 100u);
  EXPECT_GT(profiler.last_frame.start, 0);
  EXPECT_TRUE(profiler.sections.empty());
  EXPECT_TRUE(profiler.names.empty());
  for (const std::vector<uint32_t>& bucket : profiler.buckets) EXPECT_TRUE(bucket.empty());
  EXPECT_EQ(profiler.sections.capacity(), section_capacity);
  EXPECT_EQ(profiler.names.capacity(), name_capacity);

  profiler.EndFrame();
  EXPECT_EQ(profiler.frame, 3u);
  EXPECT_TRUE(profiler.last_frame.sections.empty());
  EXPECT_TRUE(profiler.last_frame.tasks.empty());
  EXPECT_EQ(profiler.last_frame.start, 0);
  EXPECT_EQ(profiler.last_frame.end, 0);
  EXPECT_EQ(profiler.BeginSection("n5", ""), 0u);
  EXPECT_EQ(profiler.buckets[BucketOf("n5")], std::vector<uint32_t>{0});
}

// Tasks are sorted byte-wise, each keeping its own sections.
TEST_F(ProfilerTest, TasksAreSortedByteWise) {
  for (const char* name : {"b", "\xc3\xa9t\xc3\xa9", "a", "B", "ab"}) Section(name);
  profiler.EndFrame();
  std::vector<std::string> order;
  for (const tv::ProfilerTask& task : profiler.last_frame.tasks) {
    order.push_back(task.name);
    ASSERT_EQ(task.sections.size(), 1u);
    EXPECT_EQ(task.duration, Duration(task.sections[0]));
  }
  EXPECT_EQ(order, (std::vector<std::string>{"B", "a", "ab", "b", "\xc3\xa9t\xc3\xa9"}));
}

// Two names whose hashes share a bucket stay two tasks.
TEST_F(ProfilerTest, NamesSharingABucketStayDistinct) {
  std::string first, second;
  std::vector<std::string> seen(256);  // 257 names cannot all have different low bytes
  for (int i = 0; second.empty(); ++i) {
    const std::string name = "system" + std::to_string(i);
    std::string& holder = seen[BucketOf(name)];
    if (holder.empty())
      holder = name;
    else
      first = holder, second = name;
  }
  ASSERT_NE(tv::ProfilerNameHash(first), tv::ProfilerNameHash(second)) << "want a bucket collision, not a hash one";
  for (const std::string* name : {&first, &second, &second, &first}) Section(*name);
  EXPECT_EQ(profiler.buckets[BucketOf(first)], (std::vector<uint32_t>{0, 1}));
  profiler.EndFrame();
  ASSERT_EQ(profiler.last_frame.tasks.size(), 2u);
  EXPECT_EQ(FindTask(first)->sections, (std::vector<uint32_t>{0, 3}));
  EXPECT_EQ(FindTask(second)->sections, (std::vector<uint32_t>{1, 2}));
}

// The scoped section closes when it goes out of scope, or once when ended early; without a
// profiler it does nothing.
TEST_F(ProfilerTest, PerfSection) {
  {
    tv::ProfilerPerfSection section("scope", "inner");
    EXPECT_TRUE(section.active);
    EXPECT_EQ(profiler.sections[section.index].end, 0);
  }
  EXPECT_NE(profiler.sections[0].end, 0);
  EXPECT_EQ(profiler.sections[0].details, "inner");
  tv::time_ns ended = 0;
  {
    tv::ProfilerPerfSection section("early");
    section.End();
    EXPECT_FALSE(section.active);
    ended = profiler.sections[1].end;
    EXPECT_NE(ended, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    section.End();
  }
  EXPECT_EQ(profiler.sections[1].end, ended);
  tv::profiler = nullptr;
  {
    tv::ProfilerPerfSection section("nobody", "listening");
    EXPECT_FALSE(section.active);
  }
  EXPECT_EQ(profiler.sections.size(), 2u);
}

// Sections written from many threads while frames end (the reader holding the lock) are all kept,
// each once, with its own thread and details, in start order within a frame.
TEST_F(ProfilerTest, SectionsFromManyThreadsWhileFramesEnd) {
  constexpr int kThreads = 4;
  constexpr int kPerThread = 2000;
  std::atomic<int> running{kThreads};
  std::vector<std::thread> threads;
  std::vector<std::thread::id> ids(kThreads);
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) {
        tv::ProfilerPerfSection shared("shared", std::to_string(t));
        tv::ProfilerPerfSection mine("worker" + std::to_string(t), std::to_string(t));
      }
      --running;
    });
  for (int t = 0; t < kThreads; ++t) ids[t] = threads[t].get_id();
  std::vector<size_t> seen(kThreads + 1, 0);
  uint32_t frames = 0;
  auto collect = [&] {
    profiler.EndFrame();
    profiler.Lock();
    const tv::ProfilerFrame& frame = profiler.last_frame;
    EXPECT_EQ(frame.frame, frames++);
    for (size_t i = 0; i < frame.sections.size(); ++i) {
      EXPECT_GE(frame.sections[i].end, frame.sections[i].start);
      EXPECT_GE(frame.sections[i].start, frame.sections[i > 0 ? i - 1 : 0].start);
    }
    for (const tv::ProfilerTask& task : frame.tasks) {
      const int t = task.name == "shared" ? kThreads : task.name.back() - '0';
      seen[size_t(t)] += task.sections.size();
      for (const uint32_t index : task.sections)
        EXPECT_TRUE(t == kThreads || (frame.sections[index].details == std::to_string(t) &&
                                      frame.sections[index].thread == ids[size_t(t)]));
    }
    profiler.Unlock();
  };
  while (running.load() > 0) collect();
  for (std::thread& thread : threads) thread.join();
  collect();
  EXPECT_EQ(seen, (std::vector<size_t>{kPerThread, kPerThread, kPerThread, kPerThread, kThreads * kPerThread}));
}

TEST(ProfilerFormat, OneAlignedLinePerTask) {
  tv::ProfilerFrame frame;
  frame.tasks.push_back(tv::ProfilerTask{"render", 1500000, {0, 2}});
  frame.tasks.push_back(tv::ProfilerTask{"ui", 250000, {1}});
  frame.tasks.push_back(tv::ProfilerTask{"physics", 12345678901, {3, 4, 5}});
  EXPECT_EQ(tv::FormatProfilerFrame(frame),
            "render        1.500 ms  2\n"
            "ui            0.250 ms  1\n"
            "physics   12345.679 ms  3\n");
  EXPECT_EQ(tv::FormatProfilerFrame(tv::ProfilerFrame{}), "");
}

} // namespace
