# Entry points: `make demo` builds and masks the bundled examples; `make test`
# builds and runs every test: the suite in the normal build (build/) and again
# with AddressSanitizer and UndefinedBehaviorSanitizer (build-asan/), then the
# fuzz targets (build-fuzz/): their corpora replayed and a bounded run of each.
# `make fuzz-long FUZZ_SECONDS=3600` fuzzes each target for as long as asked;
# `make bench` measures the provider (bench/); `make bench-jobs` measures --jobs.
# `make install PREFIX=/usr/local` (DESTDIR honoured) installs nidmask, the
# provider, the host kit, the man page and the completion; `make deb` builds
# the Debian package(s) in build-deb/.
# `make pg` builds the PostgreSQL extension (pg/) with PGXS against Debian's
# postgresql-15; `make pg-install` installs it into that server (as root);
# `make bench-pg` measures it on a throwaway server (bench/pg_bench.sh).
# All of them install missing Debian packages first (when run as root) and
# download nothing else.

BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_FLAGS ?=
# Seconds each fuzz target runs in `make test`, and in `make fuzz-long`.
FUZZ_TEST_SECONDS ?= 30
FUZZ_SECONDS ?= 600

DEB_PACKAGES := cmake g++ make pkg-config libgtest-dev libgmock-dev libsqlite3-dev libcli11-dev \
                libcsv-dev nlohmann-json3-dev libtomlplusplus-dev libssl-dev sqlite3 clang-14 libclang-rt-14-dev llvm-14 libbenchmark-dev \
                groff-base man-db dpkg-dev file python3 postgresql-15 postgresql-server-dev-15

FUZZ_TARGETS := fuzz_provider fuzz_converters fuzz_csv

.PHONY: all deps build build-asan fuzz test test-release test-asan test-fuzz fuzz-long demo bench bench-e2e bench-jobs tables \
        install deb clean pg pg-install bench-pg

all: build

deps:
	@bash scripts/install-deps.sh $(DEB_PACKAGES)

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS)

$(ASAN_BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DQRNP_SANITIZE=ON $(CMAKE_FLAGS)

$(FUZZ_BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(FUZZ_BUILD) -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
	  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQRNP_FUZZ=ON -DQRNP_BUILD_TESTS=OFF $(CMAKE_FLAGS)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

build-asan: deps $(ASAN_BUILD)/CMakeCache.txt
	cmake --build $(ASAN_BUILD) -j $(JOBS)

fuzz: deps $(FUZZ_BUILD)/CMakeCache.txt
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target $(FUZZ_TARGETS)

test: test-release test-asan test-fuzz

test-release: build pg
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

test-asan: build-asan
	cd $(ASAN_BUILD) && ctest --output-on-failure -j $(JOBS)

test-fuzz: fuzz
	cd $(FUZZ_BUILD) && QRNP_FUZZ_SECONDS=$(FUZZ_TEST_SECONDS) ctest --output-on-failure -j $(JOBS)

fuzz-long: fuzz
	@for t in $(FUZZ_TARGETS); do \
	  echo "== $$t: $(FUZZ_SECONDS) s"; \
	  QRNP_FUZZ_SECONDS=$(FUZZ_SECONDS) fuzz/run_fuzz.sh $(FUZZ_BUILD)/bin/$$t fuzz/corpus/$$t \
	    $(FUZZ_BUILD)/fuzz/corpus/$$t || exit 1; \
	done

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

# The PostgreSQL extension: the bridge and host kit by CMake, the module by
# PGXS ($(BUILD)/pg/nidmask.so), with the provider it loads.
PG_CONFIG ?= /usr/lib/postgresql/15/bin/pg_config
pg: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS) --target nidmask_pg nidmask

# The extension's files by PGXS; the provider and the stand-in libraries in
# $$libdir/nidmask, where the extension looks for them.
pg-install: pg
	$(MAKE) -s -C $(BUILD)/pg -f $(CURDIR)/pg/Makefile VPATH=$(CURDIR)/pg PG_CONFIG=$(PG_CONFIG) install
	cmake --install $(BUILD) --component pg_provider

# 10,000,000 rows on a throwaway server (several minutes); results in bench/RESULTS.md.
bench-pg: pg
	bash bench/pg_bench.sh $(CURDIR) $(BUILD)

# nidmask --jobs 2 against --jobs 1 against cat, 10,000,000 rows per country and a CSV by rules.
bench-jobs: deps
	cmake -S . -B $(BENCH_BUILD) $(BENCH_CMAKE_FLAGS) -DQRNP_NO_TRACE=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS) --target nidmask
	bash bench/jobs.sh $(BENCH_BUILD)

# Installs what the build tree built (building only that) under PREFIX, or
# DESTDIR/PREFIX for staging.
PREFIX  ?= /usr/local
DESTDIR ?=
install: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS) --target nidmask_installables
	DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

# Debian packages from a build of their own, without tests or benchmarks:
# $(DEB_BUILD)/nidmask_<version>_<arch>.deb (and one per other component).
DEB_BUILD ?= build-deb
deb: deps
	cmake -S . -B $(DEB_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQRNP_BUILD_TESTS=OFF -DQRNP_BUILD_BENCH=OFF
	cmake --build $(DEB_BUILD) -j $(JOBS)
	cd $(DEB_BUILD) && cpack -G DEB
	@ls -1 $(DEB_BUILD)/*.deb

# The generated tables, made again from data/; fails when the committed ones differ.
TABLE_GENERATORS := $(wildcard tools/gen_*.py)
tables:
	@for g in $(TABLE_GENERATORS); do python3 $$g || exit 1; done
	@git diff --exit-code --stat -- $$(grep -rl '^// Generated by tools/' countries common) || \
	  { echo "make tables: the committed tables differ from what data/ gives (see git diff)"; exit 1; }

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD) $(BENCH_BUILD) $(BENCH_NOTRACE_BUILD) $(DEB_BUILD)
