# Entry points: `make demo` builds and masks the bundled examples; `make test`
# builds and runs every test; `make bench` measures the provider (bench/).
# They install missing Debian packages first (when run as root) and download
# nothing else.

BUILD   ?= build
JOBS    ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_FLAGS ?=

DEB_PACKAGES := cmake g++ make pkg-config libgtest-dev libgmock-dev libsqlite3-dev libcli11-dev \
                libcsv-dev nlohmann-json3-dev sqlite3 libbenchmark-dev

.PHONY: all deps build test demo bench bench-e2e clean

all: build

deps:
	@bash scripts/install-deps.sh $(DEB_PACKAGES)

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The demo needs only nidmask and the provider it loads.
demo: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) --target nidmask -j $(JOBS)
	@bash scripts/demo.sh $(BUILD)

# Benchmarks run in release builds of their own: one as shipped, one with the
# tracing calls compiled out, to measure what tracing costs while it is off.
BENCH_BUILD ?= build-bench
BENCH_NOTRACE_BUILD ?= build-bench-notrace
BENCH_CMAKE_FLAGS := -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQRNP_BUILD_TESTS=OFF
BENCH_ARGS ?= --benchmark_repetitions=3 --benchmark_report_aggregates_only=true

bench: deps
	cmake -S . -B $(BENCH_BUILD) $(BENCH_CMAKE_FLAGS) -DQRNP_NO_TRACE=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	cmake -S . -B $(BENCH_NOTRACE_BUILD) $(BENCH_CMAKE_FLAGS) -DQRNP_NO_TRACE=ON
	cmake --build $(BENCH_NOTRACE_BUILD) -j $(JOBS) --target nidmask_bench
	$(BENCH_BUILD)/bin/nidmask_bench $(BENCH_ARGS)
	@if command -v python3 >/dev/null; then \
	  python3 bench/trace_cost.py $(BENCH_BUILD)/bin/nidmask_bench $(BENCH_NOTRACE_BUILD)/bin/nidmask_bench; \
	else \
	  $(BENCH_NOTRACE_BUILD)/bin/nidmask_bench --benchmark_filter='^(Mask|Random)/' $(BENCH_ARGS); \
	fi

# nidmask end to end on generated files (10,000,000 rows per country by default).
bench-e2e: deps
	cmake -S . -B $(BENCH_BUILD) $(BENCH_CMAKE_FLAGS) -DQRNP_NO_TRACE=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	bash bench/e2e.sh $(BENCH_BUILD)

clean:
	rm -rf $(BUILD) $(BENCH_BUILD) $(BENCH_NOTRACE_BUILD)
