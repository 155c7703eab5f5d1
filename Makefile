# Entry points for developers and CI. Each target bootstraps the machine first, so a fresh
# Debian 12 machine needs nothing but `make demo` or `make test`.

BUILD ?= build
SANITIZE_BUILD ?= build-sanitize

SANITIZER_RUNTIME_OPTIONS := ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
                             UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

.PHONY: test bootstrap configure build demo sanitize fuzz clean

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j2

bootstrap:
	scripts/bootstrap

# Configure once; afterwards the generated build re-runs CMake itself when a CMakeLists.txt changes.
configure: bootstrap
	test -f $(BUILD)/build.ninja || \
	  cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: configure
	cmake --build $(BUILD)

# The quickstart's scratch file lands in the build folder, its working directory.
demo: build
	cd $(BUILD) && ./cli/storageio run $(CURDIR)/examples/quickstart.yaml

sanitize: bootstrap
	test -f $(SANITIZE_BUILD)/build.ninja || \
	  cmake -S . -B $(SANITIZE_BUILD) -G Ninja -DKEL_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
	cmake --build $(SANITIZE_BUILD)
	$(SANITIZER_RUNTIME_OPTIONS) ctest --test-dir $(SANITIZE_BUILD) --output-on-failure -j2

# libFuzzer targets, built with clang in build-fuzz; FUZZ_SECONDS per target (default 20).
fuzz: bootstrap
	scripts/fuzz

clean:
	rm -rf $(BUILD) $(SANITIZE_BUILD) build-fuzz
