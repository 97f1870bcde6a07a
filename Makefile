# Thin wrapper over CMake: `make demo`, `make test`, `make bench`, `make fuzz`, `make install`.
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 30
JOBS       ?= $(shell nproc)
PREFIX     ?= /usr/local
CMAKE_GEN  := -G Ninja

.PHONY: all setup build demo test asan bench fuzz install package clean

all: build

setup:
	@scripts/setup

$(BUILD)/build.ninja: | setup
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release

build: setup $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	@scripts/demo $(BUILD)/lumisk

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

asan: setup
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUMISK_SANITIZE=ON
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
		ctest --output-on-failure -j $(JOBS)

bench: setup
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DLUMISK_BENCH=ON
	cmake --build $(BUILD) -j $(JOBS)
	bench/run $(BUILD)

# The libFuzzer targets of fuzz/ (clang), each run FUZZ_SECONDS on its corpus; fails on any finding.
fuzz:
	@scripts/setup fuzz
	CXX=clang++ cmake -S . -B $(FUZZ_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUMISK_FUZZ=ON
	cmake --build $(FUZZ_BUILD) -j $(JOBS)
	fuzz/run $(FUZZ_BUILD) $(FUZZ_SECONDS)

# The programs and the Python module (when built) below PREFIX.
install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

# A Debian package of the same, in $(BUILD).
package: build
	cd $(BUILD) && cpack -G DEB

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
