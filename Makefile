# The few commands of every day. Presets and targets are in CMakePresets.json.
PRESET ?= dev
JOBS ?= $(shell nproc)
export CMAKE_BUILD_PARALLEL_LEVEL ?= $(JOBS)

.PHONY: help run test bench format clean deps coverage release deb

help:
	@echo "make run       build, and render the demo into out/demo.mp4 and out/contact.png"
	@echo "make test      build and run every test that this machine can run (PRESET=dev)"
	@echo "make bench     measure, against the usual libraries where there is one: out/bench.json"
	@echo "make format    format the sources"
	@echo "make coverage  which lines the tests reach: out/coverage/index.html"
	@echo "make deb       a Debian package of the program: out/lanternfly_*.deb"
	@echo "make deps      install the Debian packages that the build needs"
	@echo "make clean     remove build/ and out/"

deps:
	@tools/deps.sh

release:
	@tools/deps.sh --without-tests
	cmake --preset release
	cmake --build --preset release --target lanternfly lanternfly-pdf-worker

deb: release
	@mkdir -p out
	cd build/release && cpack -G DEB -B "$(CURDIR)/build/package"
	mv build/package/*.deb out/

LANTERNFLY = build/release/app/lanternfly

run: release
	@mkdir -p out
	$(LANTERNFLY) render --camera demo/presenter.mp4 --deck demo/deck.pdf \
	  --script demo/demo.script --out out/demo.mp4 --events out/events.jsonl
	$(LANTERNFLY) contact-sheet out/demo.mp4 --out out/contact.png
	@echo "video:         $(CURDIR)/out/demo.mp4"
	@echo "contact sheet: $(CURDIR)/out/contact.png"
	@echo "events:        $(CURDIR)/out/events.jsonl"

test: deps
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET)
	@code=0; ctest --preset $(PRESET) --parallel $(JOBS) \
	  --output-junit "$(CURDIR)/build/$(PRESET)/ctest.xml" </dev/null || code=$$?; \
	tools/skip_report.py build/$(PRESET)/ctest.xml; exit $$code

bench: deps
	cmake --preset release
	cmake --build --preset release --target benches
	tools/bench_report.py --out out/bench.json $$(cat build/release/bench/programs.txt)

format: deps
	tools/format.sh

coverage: deps
	$(MAKE) test PRESET=coverage
	@mkdir -p out
	lcov --quiet --capture --directory build/coverage --base-directory . --no-external \
	  --output-file out/coverage.info
	lcov --quiet --remove out/coverage.info '$(CURDIR)/tests/*' '$(CURDIR)/build/*' \
	  --output-file out/coverage.info
	genhtml --quiet out/coverage.info --output-directory out/coverage
	lcov --summary out/coverage.info

clean:
	rm -rf build out
