# KURVALUX: every entry point first makes sure the Debian packages are there.
JOBS    ?= $(shell nproc)
WERROR  ?= 0
CMAKE   := cmake -G Ninja -Wno-dev
EXAMPLE := examples/demo/demo.kvf
FUZZ_SECONDS ?= 60

.PHONY: all deps build run test bench asan tsan fuzz screenshots format clean

all: build

deps:
	@scripts/install-deps

build/build.ninja: | deps
	$(CMAKE) -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKURVALUX_WERROR=$(WERROR)

build: deps build/build.ninja
	$(CMAKE) -S . -B build -DKURVALUX_WERROR=$(WERROR) >/dev/null
	cmake --build build -j $(JOBS)

run: build
	@if [ -x build/app/kurvalux ]; then \
	  build/app/kurvalux $(EXAMPLE); \
	else \
	  echo "The desktop application is not built yet; running the command line on the example field."; \
	  build/cli/kurvalux-cli stats $(EXAMPLE); \
	fi

test: build
	cd build && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

bench: deps
	$(CMAKE) -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKURVALUX_TESTS=OFF -DKURVALUX_GUI=ON
	cmake --build build-bench -j $(JOBS)
	@for b in build-bench/bench/bench_*; do echo "== $$b"; $$b || exit 1; done

asan: deps
	$(CMAKE) -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=-O1 \
	  -DKURVALUX_SANITIZE=address,undefined -DKURVALUX_BENCH=OFF -DKURVALUX_WERROR=$(WERROR)
	cmake --build build-asan -j $(JOBS)
	cd build-asan && QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=1 \
	  UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

tsan: deps
	$(CMAKE) -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=-O1 \
	  -DKURVALUX_SANITIZE=thread -DKURVALUX_BENCH=OFF -DKURVALUX_GUI=OFF
	cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j $(JOBS)

fuzz: deps
	CC=clang CXX=clang++ $(CMAKE) -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DKURVALUX_SANITIZE=address,undefined,fuzzer-no-link -DKURVALUX_FUZZ=ON \
	  -DKURVALUX_TESTS=OFF -DKURVALUX_BENCH=OFF -DKURVALUX_GUI=OFF
	cmake --build build-fuzz -j $(JOBS)
	@for f in build-fuzz/fuzz/fuzz_*; do \
	  name=$$(basename $$f); mkdir -p build-fuzz/corpus/$$name; \
	  echo "== $$name ($(FUZZ_SECONDS) s)"; \
	  $$f -max_total_time=$(FUZZ_SECONDS) -max_len=65536 -print_final_stats=1 \
	    -artifact_prefix=build-fuzz/ build-fuzz/corpus/$$name fuzz/seeds/$$name 2>&1 | \
	    grep -E 'stat::number_of_executed_units|^SUMMARY|==[0-9]+==ERROR|^Done [0-9]+ runs' || true; \
	done

screenshots: build
	scripts/screenshots

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf build build-asan build-tsan build-fuzz build-bench
