# The front door. `make demo` and `make test` work on a fresh machine: both install what they need first.

.PHONY: all bootstrap build build-linux build-mingw build-tools test test-linux test-wine e2e demo bench clean

all: build

bootstrap:
	@scripts/bootstrap

build: bootstrap build-linux build-mingw

build-linux:
	@cmake --preset linux-debug >/dev/null
	@cmake --build --preset linux-debug

# The Windows binaries land in build/mingw-release/bin/.
build-mingw:
	@cmake --preset mingw-release >/dev/null
	@cmake --build --preset mingw-release

test: build test-linux test-wine e2e

test-linux:
	ctest --preset linux-debug

# Every Wine run gets a scratch prefix of its own, removed afterwards.
test-wine:
	scripts/with-wine-prefix ctest --preset mingw-release

# Real headless Chromium and Firefox ESR with the test extension, the host and the stand-in core under Wine.
e2e: bootstrap build-mingw
	scripts/run-e2e build/mingw-release

# The portable tools, natively: the demo drives the host with the client and reads its log with the decoder.
build-tools:
	@cmake --preset linux-debug >/dev/null
	@cmake --build --preset linux-debug --target LvNmClient LvLogDecode

demo: bootstrap build-mingw build-tools
	@python3 scripts/demo.py --exe build/mingw-release/bin/LVBHOHost.exe \
		--sim build/mingw-release/bin/SimLvEngine.exe \
		--nmclient build/linux-debug/bin/LvNmClient --logdecode build/linux-debug/bin/LvLogDecode
	@echo
	@echo "The prompt's dialogs (LVUI.dll) at the zooms of two screens, under Xvfb:"
	@python3 scripts/prompt_gallery.py --gallery build/mingw-release/bin/LvUiGallery.exe \
		--lvui build/mingw-release/bin/LVUI.dll --out build/screenshots

bench: bootstrap build-mingw
	@python3 bench/run_bench.py --build build/mingw-release

clean:
	rm -rf build
