# Two commands for a newcomer: `make run` and `make test`. Both install what is missing first.
JOBS ?= $(shell nproc)
SANITIZE ?= 0
BUILD_TYPE ?= RelWithDebInfo

ifeq ($(SANITIZE),1)
BUILD_DIR ?= build-asan
CMAKE_FLAGS += -DQUILLO_SANITIZE=ON
else
BUILD_DIR ?= build
endif
ifneq ($(CI),)
CMAKE_FLAGS += -DQUILLO_WERROR=ON
endif

# The reference Bluesky PDS for `make test-live` (Node.js; its npm packages are installed
# on first use). Ports and files are its own, so a PDS started by hand keeps running.
PDS_DIR ?= ../shared/peers/bsky-pds
LIVE_PDS_PORT ?= 2593
LIVE_PLC_PORT ?= 2592

.PHONY: all deps configure build run test test-live bench fuzz clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS)

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/src/quillo $(ARGS)

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

# Publishes a thread to a real PDS on loopback and reads it back. `make test` skips it.
test-live: build
	@bash scripts/install-deps.sh --live
	@[ -d $(PDS_DIR)/node_modules/@atproto/pds ] || (cd $(PDS_DIR) && npm ci)
	@set -e; state=$(abspath $(BUILD_DIR))/bsky-pds; \
	export BSKY_PDS_PORT=$(LIVE_PDS_PORT) BSKY_PLC_PORT=$(LIVE_PLC_PORT) BSKY_PID_FILE=$$state.pid \
	       BSKY_LOG=$$state.log BSKY_INFO_FILE=$$state.json; \
	$(PDS_DIR)/start.sh; \
	trap '$(PDS_DIR)/stop.sh' EXIT; \
	export QUILLO_ENDPOINTS=bluesky=http://127.0.0.1:$(LIVE_PDS_PORT); \
	$(BUILD_DIR)/tests/platforms/platforms_bluesky_live_test; \
	$(BUILD_DIR)/tests/app/app_bluesky_live_process_test

bench: build
	@bash scripts/run-benchmarks.sh $(BUILD_DIR)

# libFuzzer targets need clang; they get a build folder of their own.
fuzz: deps
	CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DQUILLO_FUZZ=ON -DQUILLO_BUILD_TESTS=OFF -DQUILLO_BUILD_BENCH=OFF
	cmake --build build-fuzz -j $(JOBS)

clean:
	rm -rf build build-asan build-fuzz
