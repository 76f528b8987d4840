# Shelfwise: every target installs what the build needs, configures an out-of-source
# CMake build (RelWithDebInfo, assertions kept) and builds before it runs.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
# Extra arguments for CMake, e.g. CMAKE_ARGS=-DSHELFWISE_WERROR=ON (as CI runs it).
CMAKE_ARGS ?=

.PHONY: all bootstrap configure build run test bench lint windows-check package-check clean

all: build

bootstrap:
	@bash scripts/bootstrap

configure: bootstrap
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_ARGS) > $(BUILD_DIR).configure.log 2>&1 \
		|| (cat $(BUILD_DIR).configure.log; exit 1)

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	@scripts/run "$(BUILD_DIR)"

test: build
	@ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

bench: build
	@scripts/bench "$(BUILD_DIR)"

# clang-format and clang-tidy over the sources; clang-tidy reads the build's compile
# commands and generated headers.
lint: build
	@bash scripts/lint "$(BUILD_DIR)"

# Checks with the MinGW-w64 cross compiler (syntax and types only, no Windows Qt) that
# every source of the Windows build compiles there.
windows-check: bootstrap
	@bash scripts/windows-check

# Builds the Debian package in build-package and checks it: lintian, an unpacked
# install, the programs run from it, the desktop files' validators.
package-check: bootstrap
	@bash scripts/package-check

clean:
	@rm -rf $(BUILD_DIR) $(BUILD_DIR).configure.log
