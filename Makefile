# Brinora: set-up, build, test and run on a Debian machine.
#   make run    install what is missing, build, run the example job
#   make test   install what is missing, build, run every test

BUILD_DIR ?= build
BUILD_TYPE ?= Release
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

# Debian packages the build and the tests need.
PACKAGES := cmake make g++ libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev qt6-base-dev xvfb xauth

SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps configure build test run clean gui screenshots

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
