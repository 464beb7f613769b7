# Two commands do everything on a fresh Debian machine: `make demo` and `make test`. Each first installs what is
# missing, and prints what it installs. CMAKE_FLAGS has further options for CMake.
BUILD := build/release
JOBS  := $(shell nproc)

.PHONY: help demo test program build package python r install dependencies bench format clean

help:
	@echo "make demo     builds svselect and shows it at work on the example frames"
	@echo "make test     builds svselect and runs all its tests"
	@echo "make install  builds svselect and installs it below PREFIX, /usr/local without it"
	@echo "make package  builds svselect and makes a Debian package of it"
	@echo "make python   builds a wheel of the Python package in build/wheel"
	@echo "make r        builds a source package of the R package in build/r"
	@echo "make bench    runs the benchmarks whose figures CONTRIBUTING.md states"
	@echo "make format   lays the sources out by .clang-format"

dependencies:
	@tools/install-dependencies

$(BUILD)/build.ninja: | dependencies
	cmake --preset release $(CMAKE_FLAGS)
# A build that is there already may have been configured with other flags.
ifdef CMAKE_FLAGS
.PHONY: $(BUILD)/build.ninja
endif

program: dependencies $(BUILD)/build.ninja
	cmake --build $(BUILD) -j$(JOBS) --target svselect_program

demo: program
	examples/demo $(BUILD)/bin/svselect

build: dependencies $(BUILD)/build.ninja
	cmake --build $(BUILD) -j$(JOBS)

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j$(JOBS)

bench: build
	bench/run $(BUILD)

install: program
	cmake --install $(BUILD) --prefix $(or $(PREFIX),/usr/local)

package: program
	tools/install-dependencies --package
	cd $(BUILD) && cpack

python: dependencies
	tools/install-dependencies --python
	rm -rf build/wheel
	test -x build/venv/bin/pip || python3 -m venv build/venv
	build/venv/bin/pip wheel --quiet --no-deps --wheel-dir build/wheel bindings/python

# R builds the vignette with the library of this build.
r: dependencies $(BUILD)/build.ninja
	tools/install-dependencies --r
	cmake --build $(BUILD) -j$(JOBS) --target svselect_c svselect_library
	rm -rf build/r
	mkdir -p build/r
	cp -r bindings/r build/r/svselect
	mkdir -p build/r/svselect/inst/extdata
	cp bindings/c/svselect.h build/r/svselect/src
	cp examples/*.csv build/r/svselect/inst/extdata
	cd build/r && SVSELECT_HOME="$(abspath $(BUILD))" R CMD build svselect

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
