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

.PHONY: all deps configure build run test bench fuzz clean

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

bench: build
	@bash scripts/run-benchmarks.sh $(BUILD_DIR)

# libFuzzer targets need clang; they get a build folder of their own.
fuzz: deps
	CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DQUILLO_FUZZ=ON -DQUILLO_BUILD_TESTS=OFF -DQUILLO_BUILD_BENCH=OFF
	cmake --build build-fuzz -j $(JOBS)

clean:
	rm -rf build build-asan build-fuzz
