# The short way in. `make test` and `make demo` install what is missing,
# configure, build and run; nothing else needs to be known.
JOBS       ?= $(shell nproc)
BUILD      ?= build
CMAKE_GEN  := -G Ninja
CTEST_ARGS ?= --output-on-failure -j $(JOBS) --timeout 300

.PHONY: all deps configure build test demo sanitize asan tsan bench soak fuzz format clean package docs

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest $(CTEST_ARGS)

# Without a display there is no browser to open: the demo then only prints
# the URL.
DEMO_ARGS ?= $(if $(DISPLAY)$(WAYLAND_DISPLAY),,--no-browser)
demo: build
	$(BUILD)/examples/toviktwo_demo $(DEMO_ARGS)

asan: deps
	cmake -S . -B build-asan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DTOVIK_SANITIZE=address -DTOVIK_BUILD_EXAMPLES=OFF
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest $(CTEST_ARGS)

tsan: deps
	cmake -S . -B build-tsan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DTOVIK_SANITIZE=thread -DTOVIK_BUILD_EXAMPLES=OFF
	cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 ctest $(CTEST_ARGS)

sanitize: asan tsan

bench: deps
	cmake -S . -B build-bench $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DTOVIK_BUILD_BENCH=ON -DTOVIK_BUILD_TESTS=OFF -DTOVIK_BUILD_EXAMPLES=ON
	cmake --build build-bench -j $(JOBS)
	@for b in build-bench/bench/bench_*; do echo "== $$b"; $$b; done
	@bash bench/http_load.sh build-bench

# Five minutes of mixed load on the transport; not part of CI.
soak: deps
	cmake -S . -B build-bench $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DTOVIK_BUILD_BENCH=ON -DTOVIK_BUILD_TESTS=OFF -DTOVIK_BUILD_EXAMPLES=OFF
	cmake --build build-bench -j $(JOBS) --target http_bench_server
	@bash bench/soak.sh build-bench

# Fuzz targets (clang, libFuzzer). FUZZ_SECONDS bounds each target's run.
FUZZ_SECONDS ?= 60
fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B build-fuzz $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTOVIK_BUILD_FUZZ=ON -DTOVIK_BUILD_TESTS=OFF -DTOVIK_BUILD_EXAMPLES=OFF
	cmake --build build-fuzz -j $(JOBS)
	@bash fuzz/run_all.sh build-fuzz/fuzz $(FUZZ_SECONDS)

# The two Debian packages (runtime and -dev) of a Release build, in build-package/.
package: deps
	cmake -S . -B build-package $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DTOVIK_BUILD_TESTS=OFF -DTOVIK_BUILD_EXAMPLES=OFF
	cmake --build build-package -j $(JOBS)
	cd build-package && cpack -G DEB
	@ls -1 build-package/*.deb

# The HTML API reference from the headers' comments, in build-docs/html/.
# Fails on any Doxygen warning (undocumented members are not warnings).
docs:
	@bash scripts/install-deps.sh doxygen
	@bash scripts/make-docs.sh build-docs

format:
	clang-format -i $$(git ls-files '*.h' '*.cpp')

clean:
	rm -rf $(BUILD) build-asan build-tsan build-bench build-fuzz build-package build-docs
