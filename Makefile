# The front door. `make demo` and `make test` work on a fresh machine: both install what they need first.

.PHONY: all bootstrap build build-linux build-mingw build-fuzz build-tsan build-tools test test-linux test-wine test-fuzz e2e fuzz demo \
	bench dist test-release clean

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

test: build test-linux test-fuzz test-wine e2e test-release

# The portable tests with ASan and UBSan; then the thread contract (the command handler and the prompt driven from
# two threads at once) with ThreadSanitizer, where any reported race fails the run.
test-linux: build-tsan
	scripts/check-format
	scripts/run-clang-tidy
	ctest --preset linux-debug
	TSAN_OPTIONS=halt_on_error=1 build/linux-tsan/bin/thread_tests

build-tsan:
	@cmake --preset linux-tsan >/dev/null
	@cmake --build --preset linux-tsan

# The libFuzzer targets (clang, ASan, UBSan): every regression input, then each target briefly from its corpus.
build-fuzz:
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz

test-fuzz: bootstrap build-fuzz
	scripts/run-fuzz --seconds 15

# A longer run: `make fuzz FUZZ_SECONDS=900`, or FUZZ_RUNS=10000000 (with both, whichever comes first).
FUZZ_SECONDS ?= 120
FUZZ_RUNS ?= 0
fuzz: bootstrap build-fuzz
	scripts/run-fuzz --seconds $(FUZZ_SECONDS) --runs $(FUZZ_RUNS)

# Every Wine run gets a scratch prefix of its own, removed afterwards.
test-wine:
	scripts/with-wine-prefix ctest --preset mingw-release

# Real headless Chromium and Firefox ESR with the test extension, the host and the stand-in core under Wine.
e2e: bootstrap build-mingw
	scripts/run-e2e build/mingw-release

# The release in dist/: the zip, the MSI, the symbols and SHA256SUMS (scripts/make-dist; signed when
# LVBHO_SIGN_PKCS12 and LVBHO_SIGN_PASSWORD_FILE name a certificate and its password).
dist: bootstrap
	@scripts/make-dist

# The release as shipped: byte-identical when built again elsewhere, signed and verified with a throwaway
# certificate, installed, read back, upgraded, repaired and removed under Wine, and both browsers through the
# host the MSI installed.
test-release: dist build-mingw
	scripts/check-reproducible
	scripts/with-wine-prefix python3 tests/release/test_release.py --dist dist \
		--probe build/mingw-release/bin/FileInfoProbe.exe --fakegpo build/mingw-release/bin/FakeGpo.dll
	scripts/run-e2e build/mingw-release --msi dist/LVBHOHost-*-win64.msi

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

# Under Xvfb, so that the prompt window of the idle figure is a real window.
bench: bootstrap build-mingw
	@xvfb-run -a -s "-screen 0 1920x1080x24" python3 bench/run_bench.py --build build/mingw-release

clean:
	rm -rf build dist
