# Entry points for a newcomer and for CI:
#   make demo   set up, build, and run the translator on a bundled example
#   make check  set up, build, and run the whole test suite, also under the sanitizers
#   make install    install VARO5 and its manual page under PREFIX (default /usr/local)
#   make package    build the Debian package varo5_<version>_<arch>.deb in build-pkg/
#   make fuzz       fuzz one road of the translator with AFL++ (FUZZ_MODE, FUZZ_SECONDS)
BUILD_DIR ?= build
ASAN_DIR  ?= build-asan
PKG_DIR   ?= build-pkg
JOBS      ?= 2
PREFIX    ?= /usr/local
# groff-base renders the manual page for its test; dpkg-dev and file serve the package.
DEBS      := cmake g++ make libgtest-dev libeigen3-dev nlohmann-json3-dev groff-base dpkg-dev file
# Only make fuzz needs these; make check does not.
FUZZ_DEBS := afl++ clang cmake make libeigen3-dev
FUZZ_DIR  ?= build-fuzz
# FUZZ_MODE: normal (Model.h/Model.cpp), info (/I), override (/R) or trial (/T).
FUZZ_MODE    ?= normal
FUZZ_SECONDS ?= 600
FUZZ_RESUME  ?= 0

.PHONY: all setup build build-asan build-translator demo check bench test test-asan install \
	package format clean install-debs setup-fuzz build-fuzz fuzz

all: build

# Installs the Debian packages the build needs when they are missing and we are root.
setup:
	@$(MAKE) --no-print-directory install-debs PKGS="$(DEBS)"

setup-fuzz:
	@$(MAKE) --no-print-directory install-debs PKGS="$(FUZZ_DEBS)"

install-debs:
	@missing=""; \
	for p in $(PKGS); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" = 0 ]; then \
	    echo "Installing:$$missing"; \
	    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing; \
	  else \
	    echo "Missing Debian packages:$$missing. Install them (as root: make setup)."; exit 1; \
	  fi; \
	fi

build: setup
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD_DIR) -j $(JOBS)

# The translator alone, without the test binaries.
build-translator: setup
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD_DIR) -j $(JOBS) --target VARO5

build-asan: setup
	cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DVARO5_SANITIZE=ON
	cmake --build $(ASAN_DIR) -j $(JOBS)

DEMO_MODELS ?= examples/pk_oral.mdl examples/pk_population.mdl
DEMO_OUT    ?= demo-out

# Each example goes into a folder of its own: demo-out/pk_oral/Model.cpp, ...
demo: build-translator
	@echo
	@$(BUILD_DIR)/VARO5 /v
	@for m in $(DEMO_MODELS); do \
	  out=$(DEMO_OUT)/$$(basename $$m .mdl); mkdir -p $$out; \
	  echo "$(BUILD_DIR)/VARO5 $$m $$out"; \
	  $(BUILD_DIR)/VARO5 $$m $$out || exit 1; \
	  echo "  -> $$out/Model.h and $$out/Model.cpp"; \
	done

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

test-asan: build-asan
	cd $(ASAN_DIR) && ASAN_OPTIONS=detect_leaks=0 ctest --output-on-failure -j $(JOBS)

check: test test-asan

# Translates synthetic chain models of 10 to 3,000 compartments and prints the table of
# time, memory and output size beside g++ -fsyntax-only; the outputs stay in bench-out/.
bench: build-translator
	tests/tools/bench.sh $(BUILD_DIR)/VARO5 bench-out

install: build-translator
	cmake --install $(BUILD_DIR) --prefix $(PREFIX)

# A build folder of its own without tests, so that cpack builds nothing but the translator.
package: setup
	cmake -S . -B $(PKG_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=OFF
	cmake --build $(PKG_DIR) -j $(JOBS) --target VARO5
	cd $(PKG_DIR) && cpack -G DEB
	@ls $(PKG_DIR)/*.deb

# The translator built with the AFL++ compilers under ASan and UBSan, for make fuzz alone.
build-fuzz: setup-fuzz
	CC=afl-clang-fast CXX=afl-clang-fast++ cmake -S . -B $(FUZZ_DIR) \
	  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARO5_SANITIZE=ON -DBUILD_TESTING=OFF
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target VARO5

# One afl-fuzz campaign of FUZZ_SECONDS on the road FUZZ_MODE; findings in
# $(FUZZ_DIR)/fuzz-<road>/out/default. FUZZ_RESUME=1 goes on with the last campaign's queue.
fuzz: build-fuzz
	FUZZ_RESUME=$(FUZZ_RESUME) tests/fuzz/fuzz.sh $(FUZZ_DIR)/VARO5 $(FUZZ_MODE) $(FUZZ_SECONDS) $(FUZZ_DIR)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) $(PKG_DIR)
