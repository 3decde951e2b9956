# Entry points: `make demo` builds and masks the bundled examples; `make test`
# builds and runs every test. Both install missing Debian packages first
# (when run as root) and download nothing else.

BUILD   ?= build
JOBS    ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_FLAGS ?=

DEB_PACKAGES := cmake g++ make pkg-config libgtest-dev libgmock-dev libsqlite3-dev libcli11-dev \
                libcsv-dev nlohmann-json3-dev sqlite3

.PHONY: all deps build test demo clean

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

clean:
	rm -rf $(BUILD)
