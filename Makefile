# Brinora: set-up, build, test and run on a Debian machine.
#   make run            install what is missing, build, run the example job
#   make test           install what is missing, build, run every test
#   make test-pip       pip install . into a fresh virtual environment, offline,
#                       and check the installed Python module (a full build of
#                       the module: about 2 minutes on 2 cores)
#   make test-sanitize  every test again, built with AddressSanitizer and UBSan
#   make fuzz           build the fuzz targets (clang, libFuzzer) and run each
#                       for FUZZ_SECONDS seconds
#   make fuzz-long      the same, each target for FUZZ_RUNS (10,000,000) executions
#   make bench          build the benchmarks in BENCH_DIR, run them, print a table,
#                       then kill 200 batch runs per output mode (tests/crash);
#                       with BENCH_EARLIER=<tree with a build-bench>, the
#                       calculation's speed against that tree (bench/ratios.sh)

BUILD_DIR ?= build
BUILD_TYPE ?= Release
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

# Debian packages the build and the tests need.
PACKAGES := cmake make g++ libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev qt6-base-dev qt6-svg-dev xvfb xauth \
  pybind11-dev python3-dev python3-numpy python3-pandas python3-xarray python3-dask python3-distributed \
  python3-netcdf4 python3-pint python3-gsw python3-zarr python3-pytest locales

SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

# Sanitizer build and fuzz build, each in a folder of its own.
SANITIZE_DIR ?= build-asan
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_PACKAGES := cmake make clang libclang-rt-14-dev

# A sanitizer report ends the test that raised it. LeakSanitizer suppressions
# (third-party libraries only) are in tests/sanitizer/lsan.supp.
SANITIZE_ENV := ASAN_OPTIONS=halt_on_error=1:abort_on_error=1:detect_leaks=1:strict_string_checks=1 \
  UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
  LSAN_OPTIONS=suppressions=$(CURDIR)/tests/sanitizer/lsan.supp:print_suppressions=0

.PHONY: all deps configure build test test-pip run clean gui screenshots test-sanitize fuzz fuzz-deps fuzz-build fuzz-long

all: build

deps:
	@missing=""; \
	for p in $(PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q 'install ok installed' || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing; \
	fi

configure: deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

# The Python package as pip installs it (pyproject.toml, setup.py), from
# Debian's python3 into a virtual environment that sees Debian's packages.
test-pip: deps
	@$(MAKE) --no-print-directory deps PACKAGES="python3-venv python3-pip python3-setuptools python3-wheel"
	tests/python/pip_install.sh

run: build
	$(BUILD_DIR)/cli/brinora calc --salinity 35 --temperature 25 --pressure 0 \
	  --phosphate 1 --silicate 10 --out-temperature 2 --out-pressure 4000 \
	  --ta 2300 --tco2 2000 --pco2-air 400 --wind 8 \
	  --constants 13 --khso4 1 --ph-scale 1 --flux 1
	@mkdir -p $(BUILD_DIR)/example
	$(BUILD_DIR)/cli/brinora batch examples/cruise.csv -o $(BUILD_DIR)/example/cruise_Brinora.csv --force \
	  --constants 13 --khso4 1 --ph-scale 1 --flux 1
	$(BUILD_DIR)/cli/brinora kml examples/cruise.csv -o $(BUILD_DIR)/example/cruise_Brinora.kml --force \
	  --constants 13 --khso4 1 --ph-scale 1 --flux 1
	@echo "Example records:  $(abspath $(BUILD_DIR))/example/cruise_Brinora.csv"
	@echo "Example KML:      $(abspath $(BUILD_DIR))/example/cruise_Brinora.kml"
	@if [ -n "$$DISPLAY" ]; then \
	  echo "Starting the desktop program"; $(BUILD_DIR)/gui/brinora-gui; \
	else \
	  echo "No display: start the desktop program with 'make gui' where one is available"; \
	fi

clean:
	rm -rf $(BUILD_DIR)

# The desktop program (needs a display).
gui: build
	$(BUILD_DIR)/gui/brinora-gui

# Pictures of every tab for the README, made under Xvfb into docs/.
screenshots: build
	BUILD_DIR=$(BUILD_DIR) scripts/screenshots.sh docs

# Every test, built with AddressSanitizer and UndefinedBehaviorSanitizer.
# The Python module is left out: an instrumented extension cannot load into
# the uninstrumented interpreter.
test-sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRINORA_SANITIZE=address,undefined \
	  -DBRINORA_BUILD_PYTHON=OFF
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	$(SANITIZE_ENV) ctest --test-dir $(SANITIZE_DIR) --output-on-failure -j $(JOBS)

# The fuzz targets of fuzz/, each run for FUZZ_SECONDS seconds over its corpus.
fuzz-deps:
	@$(MAKE) --no-print-directory deps PACKAGES="$(FUZZ_PACKAGES)"

fuzz: fuzz-build
	FUZZ_SECONDS=$(FUZZ_SECONDS) fuzz/run.sh $(FUZZ_DIR)

fuzz-build: fuzz-deps
	cmake -S . -B $(FUZZ_DIR) -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DBRINORA_BUILD_FUZZ=ON -DBRINORA_BUILD_TESTS=OFF -DBRINORA_BUILD_CLI=OFF -DBRINORA_BUILD_GUI=OFF
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target fuzz_lenient_number fuzz_batch_reader fuzz_compute_co2 fuzz_kml_writer

# Each fuzz target for FUZZ_RUNS executions, one after the other (over an
# hour on a 2-core machine; bench/README.md, "Fuzzing", has the figures).
FUZZ_RUNS ?= 10000000
fuzz-long: fuzz-build
	FUZZ_RUNS=$(FUZZ_RUNS) fuzz/run.sh $(FUZZ_DIR)

# Benchmarks (Google Benchmark) and the timing and peak memory of `brinora
# batch`, in a Release folder of their own; bench/run.sh prints the table
# (BENCH_HUGE=1 adds a 10^7-line file; see bench/README.md).
BENCH_DIR ?= build-bench
BENCH_TARGETS := brinora brinora_bench_core brinora_bench_batch brinora_make_cruise brinora_board_digest brinora_bench_ratios _brinora \
  brinora_bench_graph brinora_bench_uncertainty

.PHONY: bench bench-deps

bench-deps:
	@$(MAKE) --no-print-directory deps PACKAGES="cmake make g++ libbenchmark-dev libcli11-dev qt6-base-dev qt6-svg-dev time strace pybind11-dev python3-dev python3-numpy python3-xarray python3-dask python3-distributed python3-netcdf4"

bench: bench-deps
	cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DBRINORA_BUILD_BENCH=ON -DBRINORA_BUILD_TESTS=OFF \
	  -DBRINORA_BUILD_GUI=OFF
	cmake --build $(BENCH_DIR) -j $(JOBS) --target $(BENCH_TARGETS)
	bench/run.sh $(BENCH_DIR)
	bench/engine_targets.sh $(BENCH_DIR) 1000000
	@if [ "$(BENCH_HUGE)" = 1 ]; then bench/engine_targets.sh $(BENCH_DIR) 10000000; fi
	tests/crash/kill_runs.sh $(BENCH_DIR)/cli/brinora 200
	PYTHONPATH=$(BENCH_DIR)/python /usr/bin/python3 bench/python_bench.py
	@if [ -n "$(BENCH_EARLIER)" ]; then bench/ratios.sh $(BENCH_EARLIER) $(BENCH_EARLIER)/build-bench $(BENCH_DIR); fi
