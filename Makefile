# The README's commands. Each first installs what is missing (scripts/install-deps.sh).
BUILD       ?= build
CHECK_BUILD ?= build-check
TSAN_BUILD  ?= build-tsan
FUZZ_BUILD  ?= build-fuzz
BENCH_BUILD ?= build-bench
FUZZ_SECONDS ?= 20
CTEST_JOBS  ?= 2
DEMO_FRAMES ?= 100

.PHONY: all deps build demo test check fuzz bench clean

all: build

deps:
	@./scripts/install-deps.sh

build: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(BUILD)

# The main job: a WAV made by sox, decoded through the plugin, its format printed; then the
# built-in scene of 100,000 animated nodes, with fewer frames than its default so that the run
# stays short on a small machine (DEMO_FRAMES=300 for the full run).
demo: build
	@mkdir -p $(BUILD)/demo
	@sox -q -n -r 48000 -c 2 -b 16 $(BUILD)/demo/sample.wav synth 3 sine 440 sine 660 vol 0.5
	$(BUILD)/bin/torvane decode $(BUILD)/demo/sample.wav -o $(BUILD)/demo/sample.raw --info
	$(BUILD)/bin/torvane demo --frames $(DEMO_FRAMES)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j$(CTEST_JOBS)

# Every test under AddressSanitizer + UndefinedBehaviorSanitizer, then under ThreadSanitizer (for
# the threaded ones; the others cost little), then a short run of each fuzzer.
check: deps
	@cmake -S . -B $(CHECK_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTV_SANITIZE=address -DTV_BENCH=OFF >/dev/null
	@cmake --build $(CHECK_BUILD)
	@cd $(CHECK_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
		ctest --output-on-failure -j$(CTEST_JOBS)
	@cmake -S . -B $(TSAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTV_SANITIZE=thread -DTV_BENCH=OFF >/dev/null
	@cmake --build $(TSAN_BUILD)
	@cd $(TSAN_BUILD) && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j$(CTEST_JOBS)
	@$(MAKE) --no-print-directory fuzz

fuzz: deps
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTV_FUZZ=ON >/dev/null
	@cmake --build $(FUZZ_BUILD) --target fuzzers
	@./scripts/run-fuzzers.sh $(FUZZ_BUILD)/bin $(FUZZ_SECONDS)

bench: deps
	@cmake -S . -B $(BENCH_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release -DTV_TESTS=OFF >/dev/null
	@cmake --build $(BENCH_BUILD)
	@./scripts/run-benchmarks.sh $(BENCH_BUILD)/bin

clean:
	rm -rf $(BUILD) $(CHECK_BUILD) $(TSAN_BUILD) $(FUZZ_BUILD) $(BENCH_BUILD)
