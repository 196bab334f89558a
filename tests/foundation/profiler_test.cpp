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

  tv::Profiler profiler;
};

uint32_t BucketOf(const std::string& name) { return tv::ProfilerNameHash(name) & 0xffu; }

TEST(ProfilerNameHash, IsFnv1a32) {
  EXPECT_EQ(tv::ProfilerNameHash(""), 0x811c9dc5u);
  EXPECT_EQ(tv::ProfilerNameHash("a"), 0xe40c292cu);
  EXPECT_EQ(tv::ProfilerNameHash("foobar"), 0xbf9cf968u);
  // Bytes above 0x7f enter as unsigned values.
  EXPECT_EQ(tv::ProfilerNameHash("\xff"), (0x811c9dc5u ^ 0xffu) * 16777619u);
}

TEST_F(ProfilerTest, BeginSectionRecordsThreadStartAndDetailsInOpeningOrder) {
  const tv::time_ns before = tv::time_since_start();
  const uint32_t first = profiler.BeginSection("update", "physics step");
  const uint32_t second = profiler.BeginSection("render", "");
  EXPECT_EQ(first, 0u);
  EXPECT_EQ(second, 1u);

  ASSERT_EQ(profiler.sections.size(), 2u);
  const tv::ProfilerSection& section = profiler.sections[0];
  EXPECT_EQ(section.thread, std::this_thread::get_id());
  EXPECT_GE(section.start, before);
  EXPECT_LE(section.start, profiler.sections[1].start);
  EXPECT_EQ(section.end, 0);
  EXPECT_EQ(section.details, "physics step");

  ASSERT_EQ(profiler.names.size(), 2u);
  EXPECT_EQ(profiler.names[0].name, "update");
  EXPECT_EQ(profiler.names[0].sections, std::vector<uint32_t>{0});
  EXPECT_EQ(profiler.names[1].name, "render");
  EXPECT_EQ(profiler.buckets[BucketOf("update")], std::vector<uint32_t>{0});
}

TEST_F(ProfilerTest, EndSectionClosesOnlyAValidIndex) {
  const uint32_t index = profiler.BeginSection("load", "");
  profiler.EndSection(index + 1);  // no such section
  EXPECT_EQ(profiler.sections[index].end, 0);
  profiler.EndSection(UINT32_MAX);
  EXPECT_EQ(profiler.sections.size(), 1u);

  profiler.EndSection(index);
  EXPECT_GE(profiler.sections[index].end, profiler.sections[index].start);
  EXPECT_NE(profiler.sections[index].end, 0);
}

TEST_F(ProfilerTest, SectionsOfOneNameMakeOneTaskWithTheSummedDuration) {
  const uint32_t a = profiler.BeginSection("cull", "first");
  profiler.EndSection(a);
  const uint32_t other = profiler.BeginSection("draw", "");
  profiler.EndSection(other);
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const uint32_t b = profiler.BeginSection("cull", "second");
  profiler.EndSection(b);
  profiler.EndFrame();

  const tv::ProfilerFrame& frame = profiler.last_frame;
  ASSERT_EQ(frame.tasks.size(), 2u);
  const tv::ProfilerTask* cull = FindTask("cull");
  ASSERT_NE(cull, nullptr);
  EXPECT_EQ(cull->sections, (std::vector<uint32_t>{a, b}));
  const tv::time_ns expected = (frame.sections[a].end - frame.sections[a].start) + (frame.sections[b].end - frame.sections[b].start);
  EXPECT_EQ(cull->duration, expected);
  EXPECT_EQ(frame.sections[b].details, "second");
  // The frame spans its sections, not the gap before EndFrame.
  EXPECT_EQ(frame.start, frame.sections[a].start);
  EXPECT_EQ(frame.end, frame.sections[b].end);
}

TEST_F(ProfilerTest, SectionLeftOpenEndsWhenTheFrameEnds) {
  const uint32_t closed = profiler.BeginSection("io", "");
  profiler.EndSection(closed);
  const uint32_t open = profiler.BeginSection("stream", "");
  const tv::time_ns before = tv::time_since_start();
  profiler.EndFrame();
  const tv::time_ns after = tv::time_since_start();

  const tv::ProfilerFrame& frame = profiler.last_frame;
  ASSERT_EQ(frame.sections.size(), 2u);
  EXPECT_GE(frame.sections[open].end, before);
  EXPECT_LE(frame.sections[open].end, after);
  EXPECT_EQ(frame.end, frame.sections[open].end);
  EXPECT_EQ(FindTask("stream")->duration, frame.sections[open].end - frame.sections[open].start);
  // The open section was cut off with its frame: closing it now touches nothing.
  profiler.EndSection(open);
  EXPECT_TRUE(profiler.sections.empty());
}

TEST_F(ProfilerTest, FramesCountAndEmptyFramesHaveNoSpan) {
  profiler.EndFrame();
  EXPECT_EQ(profiler.frame, 1u);
  EXPECT_EQ(profiler.last_frame.frame, 0u);
  EXPECT_EQ(profiler.last_frame.start, 0);
  EXPECT_EQ(profiler.last_frame.end, 0);
  EXPECT_TRUE(profiler.last_frame.tasks.empty());

  profiler.EndSection(profiler.BeginSection("tick", ""));
  profiler.EndFrame();
  EXPECT_EQ(profiler.last_frame.frame, 1u);
  EXPECT_EQ(profiler.last_frame.tasks.size(), 1u);
  EXPECT_GT(profiler.last_frame.start, 0);

  // An empty frame after a busy one leaves nothing of the busy one behind.
  profiler.EndFrame();
  EXPECT_EQ(profiler.frame, 3u);
  EXPECT_EQ(profiler.last_frame.frame, 2u);
  EXPECT_TRUE(profiler.last_frame.sections.empty());
  EXPECT_TRUE(profiler.last_frame.tasks.empty());
  EXPECT_EQ(profiler.last_frame.start, 0);
  EXPECT_EQ(profiler.last_frame.end, 0);
}

TEST_F(ProfilerTest, EndFrameEmptiesTheTablesButKeepsTheirStorage) {
  for (int i = 0; i < 100; ++i) profiler.EndSection(profiler.BeginSection("n" + std::to_string(i), ""));
  const size_t section_capacity = profiler.sections.capacity();
  const size_t name_capacity = profiler.names.capacity();
  profiler.EndFrame();

  EXPECT_TRUE(profiler.sections.empty());
  EXPECT_TRUE(profiler.names.empty());
  for (const std::vector<uint32_t>& bucket : profiler.buckets) EXPECT_TRUE(bucket.empty());
  EXPECT_EQ(profiler.sections.capacity(), section_capacity);
  EXPECT_EQ(profiler.names.capacity(), name_capacity);
  EXPECT_EQ(profiler.last_frame.tasks.size(), 100u);

  // The next frame starts its numbering over.
  EXPECT_EQ(profiler.BeginSection("n5", ""), 0u);
  ASSERT_EQ(profiler.names.size(), 1u);
  EXPECT_EQ(profiler.buckets[BucketOf("n5")], std::vector<uint32_t>{0});
}

TEST_F(ProfilerTest, TasksAreSortedByteWise) {
  for (const char* name : {"b", "\xc3\xa9t\xc3\xa9", "a", "B", "ab"}) profiler.EndSection(profiler.BeginSection(name, ""));
  profiler.EndFrame();
  std::vector<std::string> order;
  for (const tv::ProfilerTask& task : profiler.last_frame.tasks) order.push_back(task.name);
  EXPECT_EQ(order, (std::vector<std::string>{"B", "a", "ab", "b", "\xc3\xa9t\xc3\xa9"}));
  // Each task's indices still point at its own sections after the sort.
  for (const tv::ProfilerTask& task : profiler.last_frame.tasks) {
    ASSERT_EQ(task.sections.size(), 1u);
    EXPECT_EQ(task.duration, profiler.last_frame.sections[task.sections[0]].end - profiler.last_frame.sections[task.sections[0]].start);
  }
}

TEST_F(ProfilerTest, NamesSharingABucketStayDistinct) {
  // 257 names cannot all have different low bytes.
  std::string first, second;
  std::vector<std::string> seen(256);
  for (int i = 0; second.empty(); ++i) {
    const std::string name = "system" + std::to_string(i);
    std::string& holder = seen[BucketOf(name)];
    if (holder.empty()) {
      holder = name;
    } else {
      first = holder;
      second = name;
    }
  }
  ASSERT_NE(tv::ProfilerNameHash(first), tv::ProfilerNameHash(second)) << "want a bucket collision, not a hash one";

  profiler.EndSection(profiler.BeginSection(first, ""));
  profiler.EndSection(profiler.BeginSection(second, ""));
  profiler.EndSection(profiler.BeginSection(second, ""));
  profiler.EndSection(profiler.BeginSection(first, ""));
  ASSERT_EQ(profiler.names.size(), 2u);
  EXPECT_EQ(profiler.buckets[BucketOf(first)], (std::vector<uint32_t>{0, 1}));
  EXPECT_EQ(profiler.names[0].sections, (std::vector<uint32_t>{0, 3}));
  EXPECT_EQ(profiler.names[1].sections, (std::vector<uint32_t>{1, 2}));

  profiler.EndFrame();
  ASSERT_EQ(profiler.last_frame.tasks.size(), 2u);
  EXPECT_EQ(FindTask(first)->sections, (std::vector<uint32_t>{0, 3}));
  EXPECT_EQ(FindTask(second)->sections, (std::vector<uint32_t>{1, 2}));
}

TEST_F(ProfilerTest, PerfSectionClosesWhenItGoesOutOfScope) {
  {
    tv::ProfilerPerfSection section("scope", "inner");
    EXPECT_TRUE(section.active);
    EXPECT_EQ(profiler.sections[section.index].end, 0);
  }
  ASSERT_EQ(profiler.sections.size(), 1u);
  EXPECT_NE(profiler.sections[0].end, 0);
  EXPECT_EQ(profiler.sections[0].details, "inner");
  EXPECT_EQ(profiler.names[0].name, "scope");
}

TEST_F(ProfilerTest, PerfSectionEndedEarlyIsNotClosedAgain) {
  tv::time_ns ended = 0;
  {
    tv::ProfilerPerfSection section("early");
    section.End();
    EXPECT_FALSE(section.active);
    ended = profiler.sections[0].end;
    EXPECT_NE(ended, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    section.End();
  }
  EXPECT_EQ(profiler.sections[0].end, ended);
}

TEST_F(ProfilerTest, PerfSectionWithoutAProfilerDoesNothing) {
  tv::profiler = nullptr;
  {
    tv::ProfilerPerfSection section("nobody", "listening");
    EXPECT_FALSE(section.active);
  }
  EXPECT_TRUE(profiler.sections.empty());
  EXPECT_TRUE(profiler.names.empty());
}

TEST_F(ProfilerTest, LockHoldsOffSections) {
  std::atomic<bool> opened{false};
  profiler.Lock();
  std::thread writer([&] {
    profiler.BeginSection("blocked", "");
    opened = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(opened.load());
  profiler.Unlock();
  writer.join();
  EXPECT_TRUE(opened.load());
  EXPECT_EQ(profiler.sections.size(), 1u);
}

TEST_F(ProfilerTest, SectionsFromManyThreadsAreAllKept) {
  constexpr int kThreads = 8;
  constexpr int kPerThread = 500;
  std::vector<std::thread> threads;
  std::vector<std::thread::id> ids(kThreads);
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([t, &ids] {
      ids[t] = std::this_thread::get_id();
      const std::string own = "worker" + std::to_string(t);
      for (int i = 0; i < kPerThread; ++i) {
        tv::ProfilerPerfSection shared("shared", std::to_string(t));
        tv::ProfilerPerfSection mine(own, std::to_string(t));
      }
    });
  for (std::thread& thread : threads) thread.join();
  profiler.EndFrame();

  const tv::ProfilerFrame& frame = profiler.last_frame;
  ASSERT_EQ(frame.sections.size(), size_t(kThreads * kPerThread * 2));
  ASSERT_EQ(frame.tasks.size(), size_t(kThreads + 1));
  EXPECT_EQ(FindTask("shared")->sections.size(), size_t(kThreads * kPerThread));
  for (int t = 0; t < kThreads; ++t) {
    const tv::ProfilerTask* task = FindTask("worker" + std::to_string(t));
    ASSERT_NE(task, nullptr);
    ASSERT_EQ(task->sections.size(), size_t(kPerThread));
    for (const uint32_t index : task->sections) {
      EXPECT_EQ(frame.sections[index].thread, ids[t]);
      EXPECT_EQ(frame.sections[index].details, std::to_string(t));
    }
  }
  for (size_t i = 0; i < frame.sections.size(); ++i) {
    EXPECT_GE(frame.sections[i].end, frame.sections[i].start);
    if (i > 0) {
      EXPECT_GE(frame.sections[i].start, frame.sections[i - 1].start);
    }
  }
}

TEST_F(ProfilerTest, FramesEndingWhileThreadsWriteLoseNoSection) {
  constexpr int kThreads = 4;
  constexpr int kPerThread = 2000;
  std::atomic<int> running{kThreads};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&running] {
      for (int i = 0; i < kPerThread; ++i) tv::ProfilerPerfSection section("work");
      --running;
    });

  size_t seen = 0;
  uint32_t frames = 0;
  auto collect = [&] {
    profiler.EndFrame();
    profiler.Lock();
    seen += profiler.last_frame.sections.size();
    EXPECT_EQ(profiler.last_frame.frame, frames);
    for (const tv::ProfilerSection& section : profiler.last_frame.sections) EXPECT_GE(section.end, section.start);
    profiler.Unlock();
    ++frames;
  };
  while (running.load() > 0) collect();
  for (std::thread& thread : threads) thread.join();
  collect();
  EXPECT_EQ(seen, size_t(kThreads * kPerThread));
  EXPECT_EQ(profiler.frame, frames);
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
