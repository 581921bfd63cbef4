# KURVALUX: every entry point first makes sure the Debian packages are there.
JOBS    ?= $(shell nproc)
WERROR  ?= 0
CMAKE   := cmake -G Ninja -Wno-dev
EXAMPLE := examples/demo/demo.kvf
FUZZ_SECONDS ?= 60
PREFIX  ?= /usr/local

.PHONY: all deps build run test bench asan tsan fuzz screenshots install package format clean

all: build

deps:
	@scripts/install-deps

build/build.ninja: | deps
	$(CMAKE) -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKURVALUX_WERROR=$(WERROR)

build: deps build/build.ninja
	$(CMAKE) -S . -B build -DKURVALUX_WERROR=$(WERROR) >/dev/null
	cmake --build build -j $(JOBS)

run: build
	@if [ ! -x build/app/kurvalux ]; then \
	  echo "The desktop application is not built yet; running the command line on the example field."; \
	  build/cli/kurvalux-cli stats $(EXAMPLE); \
	elif [ -z "$$DISPLAY" ] && [ -z "$$WAYLAND_DISPLAY" ]; then \
	  echo "No graphical session here (neither DISPLAY nor WAYLAND_DISPLAY is set), and the desktop"; \
	  echo "application needs one. Running the command line on the example field instead:"; \
	  echo "  build/cli/kurvalux-cli stats $(EXAMPLE)"; \
	  build/cli/kurvalux-cli stats $(EXAMPLE); \
	else \
	  build/app/kurvalux $(EXAMPLE); \
	fi

test: build
	cd build && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

bench: deps
	$(CMAKE) -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKURVALUX_TESTS=OFF -DKURVALUX_GUI=ON
	cmake --build build-bench -j $(JOBS)
	@for b in build-bench/bench/bench_*; do \
	  [ -f "$$b" ] && [ -x "$$b" ] || continue; \
	  echo "== $$b"; $$b || exit 1; \
	done

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

fuzz:
	@scripts/install-deps fuzz
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
	@scripts/install-deps screenshots
	scripts/screenshots

# The programs, the guide, the example field, the desktop entry, icon and MIME type under
# $(PREFIX); the desktop and MIME databases are refreshed when their tools are there.
install: build
	cmake --install build --prefix $(PREFIX)
	-@command -v update-mime-database >/dev/null && update-mime-database $(PREFIX)/share/mime || true
	-@command -v update-desktop-database >/dev/null && \
	  update-desktop-database $(PREFIX)/share/applications || true

# A Debian package (build/kurvalux_VERSION_amd64.deb) with its runtime dependencies declared.
package: build
	cd build && cpack -G DEB

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf build build-asan build-tsan build-fuzz build-bench
