# The commands a newcomer types: `make test` and `make demo`.
BUILD ?= build
JOBS ?= 2
GENERATOR := -G Ninja
CMAKE_COMMON := -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: all test demo deps build native asan win32 bench sdk fuzz clean

all: build

deps:
	@bash scripts/install-deps.sh

$(BUILD)/native/build.ninja: | deps
	@cmake -S . -B $(BUILD)/native $(GENERATOR) $(CMAKE_COMMON) >/dev/null

$(BUILD)/asan/build.ninja: | deps
	@cmake -S . -B $(BUILD)/asan $(GENERATOR) $(CMAKE_COMMON) -DCMAKE_C_COMPILER=clang \
	  -DCMAKE_CXX_COMPILER=clang++ -DRUNA1_SANITIZE=ON -DRUNA1_FUZZ=ON >/dev/null

$(BUILD)/win32/build.ninja: | deps
	@cmake -S . -B $(BUILD)/win32 $(GENERATOR) $(CMAKE_COMMON) \
	  -DCMAKE_TOOLCHAIN_FILE=cmake/mingw32.cmake -DZPELINK_EXECUTABLE=$(abspath $(BUILD))/native/bin/zpelink >/dev/null

native: $(BUILD)/native/build.ninja
	@cmake --build $(BUILD)/native -j $(JOBS)
asan: $(BUILD)/asan/build.ninja
	@cmake --build $(BUILD)/asan -j $(JOBS)
# The win32 build links its test modules with the native zpelink.
win32: $(BUILD)/win32/build.ninja native
	@cmake --build $(BUILD)/win32 -j $(JOBS)

build: native asan win32

test: build
	@bash scripts/run-tests.sh $(BUILD)

# The SDK for module authors in $(BUILD)/sdk (tools, header, support library, CMake function and
# toolchain file, starter project), which the native build writes.
sdk: native
	@echo "SDK in $(BUILD)/sdk; start from $(BUILD)/sdk/starter"

# Runs every fuzz target for FUZZ_SECONDS (default 600) each on a corpus kept under
# $(BUILD)/fuzz/; not part of `make test`, whose fuzz runs are short.
fuzz: asan
	@bash scripts/fuzz.sh $(BUILD)

# Builds the native benchmarks and runs each once; not part of `make test`.
bench: native
	@for b in $(BUILD)/native/bench/*_bench; do echo "== $$b"; "$$b" || exit 1; done

# Builds only what the demo needs (the native tools that make its pictures, music, sounds and
# menu files and link it, then runa1.exe and the module) and runs it: in a window on $$DISPLAY,
# or headless as a tour on Xvfb with screenshots and a recording under $(BUILD)/demo/tour/.
demo: $(BUILD)/native/build.ninja $(BUILD)/win32/build.ninja
	@cmake --build $(BUILD)/native -j $(JOBS) --target zpelink mqimage demo_art demo_sound demo_menus midirender screen_art arc
	@cmake --build $(BUILD)/win32 -j $(JOBS) --target runa1 demo
	@bash scripts/demo.sh --build $(BUILD)

clean:
	rm -rf $(BUILD)
