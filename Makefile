# Entry points. Each target does its own set-up; `make` alone lists them.

DEMO_DIR ?= /usr/include
DEMO_ARGS ?=
FUZZ_SECONDS ?= 600
SOAK_SECONDS ?= 600
SOAK_ASAN_SECONDS ?= 180
SOAK_TSAN_SECONDS ?= 180
SOAK_NATIVE_SECONDS ?= 180
MUTANTS ?= 600
SEED ?= 1
BEFORE ?=
FILES ?=
PREFIX ?= /usr/local

# Packages for the alert window and its test, which are skipped without these packages.
WINDOW_PACKAGES := libsdl2-dev libsdl2-ttf-dev libfontconfig-dev fonts-dejavu-core \
    fonts-vlgothic xvfb xdotool x11-apps

BENCH_PACKAGES := libbenchmark-dev icu-devtools libfmt-dev libspdlog-dev libmimalloc2.0 \
    libjemalloc2 libtcmalloc-minimal4 qtbase5-dev qttools5-dev-tools rapidjson-dev nlohmann-json3-dev \
    libxml2-dev

PACKAGE_PACKAGES := debhelper doxygen libsdl2-dev libsdl2-ttf-dev libfontconfig-dev

.DEFAULT_GOAL := help
.PHONY: help deps window-deps demo test release-test native sanitize asan tsan install package package-test fresh-test headers docs bench coverage mutants fuzz fuzz-fast soak lint analyze format clean

help: ## List the targets
	@echo 'First:'
	@$(call list,demo|test|install|docs)
	@echo 'All others:'
	@$(call list,[a-z-]+) | grep -Ev '^  (demo|test|install|docs) '

deps: ## Install the Debian packages that are missing
	@scripts/deps

window-deps: deps
	-@scripts/deps $(WINDOW_PACKAGES)

# The targets whose name matches, with their descriptions.
list = grep -E '^($(1)):.*\#\# ' Makefile | sed 's/^/  /; s/:.*\#\# /\t/' | expand -t 18

define build
@mkdir -p build
cmake --preset $(1) -Wno-dev >build/$(1).log 2>&1 || { cat build/$(1).log; exit 1; }
cmake --build --preset $(1) $(2)
endef

demo: deps ## Run the example host on real files (DEMO_DIR, DEMO_ARGS)
	$(call build,dev,--target filecache)
	build/dev/bin/filecache $(DEMO_ARGS) $(DEMO_DIR)

test: window-deps ## Build and run all tests
	$(call build,dev)
	ctest --preset dev

release-test: window-deps ## All tests on the release build
	$(call build,release)
	ctest --preset release

native: deps ## Build for 64-bit Windows, and run all tests that can hold there, under Wine
	@scripts/native_deps
	$(call build,native)
	scripts/native_tests
	ctest --preset native -V
	scripts/wine build/native/bin/soak.exe $(SOAK_NATIVE_SECONDS)

asan: window-deps ## All tests under the address and undefined behaviour sanitizers
	$(call build,asan)
	ctest --preset asan

tsan: window-deps ## All tests under the thread sanitizer
	$(call build,tsan)
	ctest --preset tsan

sanitize: asan tsan ## Both sanitizers

install: deps ## Install the release build (PREFIX, DESTDIR)
	$(call build,release)
	cmake --install build/release --prefix $(PREFIX)

package: ## Make the Debian packages of what is committed, in build/package
	@scripts/deps $(PACKAGE_PACKAGES)
	scripts/package

package-test: package ## Check the packages, and install and use them in a fresh Debian (root)
	@scripts/deps debootstrap lintian devscripts diffoscope-minimal
	tests/package/check_packages build/package
	scripts/fresh_debian tests/package/fresh.sh tests/package tests/docs build/package/*.deb

fresh-test: ## Run make demo and make test in a fresh Debian, on what is committed (root)
	@scripts/deps debootstrap
	@mkdir -p build
	git bundle create -q build/u.bundle HEAD
	scripts/fresh_debian tests/package/fresh_tree.sh build/u.bundle

headers: deps ## Compile each public header alone
	$(call build,dev,--target header_check)

docs: ## Make a site of the documents and the reference of the headers, in build/docs/html
	@scripts/deps doxygen
	@mkdir -p build/docs
	doxygen docs/site/Doxyfile

bench: deps ## Measure everything, also against commit BEFORE, and write bench/RESULTS.md and bench/plots
	@scripts/deps $(BENCH_PACKAGES)
	$(call build,bench,--target bench)
	$(if $(BEFORE),scripts/bench_before $(BEFORE))
	scripts/bench build/release/bench $(if $(BEFORE),build/before/build/release/bench)
	scripts/plots build/release/bench

coverage: window-deps ## Line and branch coverage of the library
	@scripts/deps llvm
	$(call build,coverage)
	@rm -rf build/coverage/profiles # counters of an earlier build
	ctest --preset coverage
	scripts/coverage build/coverage

mutants: window-deps ## Change the library in MUTANTS places; tests must notice (FILES, SEED)
	@scripts/deps llvm
	scripts/mutants --count $(MUTANTS) --seed $(SEED) $(FILES)

fuzz: deps ## Run each fuzz target for FUZZ_SECONDS and write fuzz/README.md
	$(call build,fuzz,--target fuzz)
	scripts/fuzz --seconds $(FUZZ_SECONDS)

fuzz-fast: deps ## Run each fuzz target likewise without the sanitizers, two to five times as fast
	$(call build,fuzz-fast,--target fuzz)
	scripts/fuzz --fast --seconds $(FUZZ_SECONDS)

soak: deps ## Do everything at once for SOAK_SECONDS, SOAK_ASAN_SECONDS under asan, SOAK_TSAN_SECONDS under tsan
	$(call build,dev,--target soak)
	build/dev/bin/soak $(SOAK_SECONDS)
	$(call build,asan,--target soak)
	build/asan/bin/soak $(SOAK_ASAN_SECONDS)
	$(call build,tsan,--target soak)
	TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 build/tsan/bin/soak $(SOAK_TSAN_SECONDS)

lint: window-deps ## Check the format, and run cppcheck and clang-tidy
	@scripts/deps cppcheck
	$(call build,dev)
	scripts/lint

analyze: window-deps ## Run the static analyzers, which take longer than make lint
	$(call build,dev)
	scripts/analyze

format: deps ## Format all sources
	git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs clang-format -i

clean: ## Remove all builds
	rm -rf build
