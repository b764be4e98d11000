# The commands of this repository; CMakePresets.json says how each preset builds.

PRESET ?= desk
JOBS ?= $(shell nproc)
BENCH_ARGS ?=
SECONDS ?= 60
FILES ?=
TWIN ?= OFF

build_dir := build/$(PRESET)
bin_dir := $(build_dir)/bin
example := examples/full-card
source_dirs := src platform model host tests bench fuzz
linted := ^$(CURDIR)/($(shell echo $(source_dirs) | tr ' ' '|'))/

.DEFAULT_GOAL := help
.PHONY: help run headroom program twin shell test-twin test-ansible bench-twin test test-powerpc test-reports sizes packages \
    test-packages test-fleet test-pages bench bench-fleet plot mutants soak fuzz coverage docs api-docs build configure format \
    lint clean

help: ## Lists these commands
	@echo "Besides git, make is all that has to be there first: on Debian 12 the rest is installed"
	@echo "with apt-get where it is missing (as root, or through sudo)."
	@echo
	@awk -F ':.*## ' '/^[a-z-]+:.*## / { printf "  make %-13s %s\n", $$1, $$2 }' $(MAKEFILE_LIST)
	@echo
	@echo "PRESET=werror or PRESET=sanitize builds and tests in another way than desk, each in"
	@echo "build/PRESET; JOBS=N sets how many jobs run at a time (here $(JOBS))."

run: program ## Builds gpon-validate, and checks the example: an edit that overbooks a PON link is rejected
	@echo
	@echo "An edit overbooks a PON link of a full card: gpon-validate must reject it (exit code 1)."
	@$(bin_dir)/gpon-validate check --running $(example)/running.xml --edit $(example)/overbook.xml \
	    --card $(example)/card.json; code=$$?; \
	if [ $$code -ne 1 ]; then \
	    echo "gpon-validate ended with exit code $$code, not with the rejection." >&2; exit 1; \
	fi

headroom: program ## Writes a page that shows how full the example card is, before and after its edit
	$(bin_dir)/gpon-validate headroom --running $(example)/running.xml --edit $(example)/overbook.xml \
	    --card $(example)/card.json --html $(build_dir)/headroom.html > $(build_dir)/headroom.txt
	@echo; echo "Open in a browser: $(CURDIR)/$(build_dir)/headroom.html"

# What gpon-validate needs, the plug-in included, and nothing else.
program: ## Builds gpon-validate and the plug-in only
	@cmake/install-deps.sh program
	@test -f $(build_dir)/build.ninja || cmake --preset $(PRESET) -DGPON_TESTS=OFF -DGPON_BENCH=OFF
	cmake --build --preset $(PRESET) --parallel $(JOBS) --target gpon-validate

# gpon-twin and what it needs are for your machine, and for who asks for them.
twin: ## Starts gpon-twin on the example card, and shows a command that talks to it
	@cmake/install-deps.sh program twin
	@grep -q '^GPON_TWIN:BOOL=ON' $(build_dir)/CMakeCache.txt 2>/dev/null || \
	    cmake --preset $(PRESET) -DGPON_TWIN=ON -DGPON_TESTS=OFF -DGPON_BENCH=OFF
	cmake --build --preset $(PRESET) --parallel $(JOBS) --target gpon-twin
	host/twin/try.sh $(bin_dir)/gpon-twin $(example)

shell: ## Starts gpon-shell on the example card
	@cmake/install-deps.sh program twin
	@grep -q '^GPON_TWIN:BOOL=ON' $(build_dir)/CMakeCache.txt 2>/dev/null || \
	    cmake --preset $(PRESET) -DGPON_TWIN=ON -DGPON_TESTS=OFF -DGPON_BENCH=OFF
	cmake --build --preset $(PRESET) --parallel $(JOBS) --target gpon-shell
	$(bin_dir)/gpon-shell --running $(example)/running.xml --card $(example)/card.json

test-twin: ## Builds gpon-twin, runs its tests, and kills it 200 times
	@$(MAKE) TWIN=ON configure
	cmake --build --preset $(PRESET) --parallel $(JOBS)
	ctest --preset $(PRESET) --parallel $(JOBS) --label-regex '^twin$$'
	tests/twin/crash.py $(bin_dir)/gpon-twin 200

test-ansible: ## Lets Ansible configure gpon-twin
	@cmake/install-deps.sh program twin test-ansible
	@$(MAKE) TWIN=ON configure
	cmake --build --preset $(PRESET) --parallel $(JOBS) --target gpon-twin
	tests/twin/ansible.py $(bin_dir)/gpon-twin

bench-twin: ## Times gpon-twin on the full card, and weighs 50 of them
	@$(MAKE) TWIN=ON configure
	cmake --build --preset $(PRESET) --parallel $(JOBS) --target gpon-twin gpon-validate twin_print twin_readers
	bench/twin.py $(build_dir)

test: build ## Builds everything (TWIN=ON: gpon-twin and gpon-shell as well), then runs all tests
	ctest --preset $(PRESET) --parallel $(JOBS)

test-powerpc: ## Builds for the card's architecture and runs all tests under an emulator
	@cmake/install-deps.sh program tests powerpc
	cmake/powerpc/libraries.sh build/powerpc-libraries
	cmake --preset powerpc
	cmake --build --preset powerpc --parallel $(JOBS)
	ctest --preset powerpc --parallel $(JOBS)

# The multitool is run itself: its wrapper passes arguments through a shell.
test-reports: program ## Checks reports of all golden cases in all formats, SARIF with its official validator (npm)
	@cmake/install-deps.sh test-reports $(shell command -v npm >/dev/null || echo npm)
	npm install --no-audit --no-fund --prefix $(build_dir)/npm @microsoft/sarif-multitool@5
	@chmod u+x $(build_dir)/npm/node_modules/@microsoft/sarif-multitool-linux/Sarif.Multitool
	tests/reports/check_reports.py --multitool \
	    $(build_dir)/npm/node_modules/@microsoft/sarif-multitool-linux/Sarif.Multitool examples $(bin_dir)/gpon-validate

sizes: program ## Tells the plug-in's size here and, after make test-powerpc, on the card's architecture
	@cmake/sizes.sh "x86-64" strip $(build_dir)/lib/libgpon_card_valid.so \
	    "PowerPC, 32 bits" powerpc-linux-gnu-strip build/powerpc/lib/libgpon_card_valid.so

packages: program ## Builds Debian packages: the plug-in, the desk tools, and gpon-twin with gpon-shell
	@cmake/install-deps.sh twin packages
	cmake --preset $(PRESET) -DGPON_TWIN=ON
	cmake --build --preset $(PRESET) --parallel $(JOBS) --target gpon-validate gpon-twin gpon-shell
	cd $(build_dir) && rm -rf packages && cpack
	@ls -l $(build_dir)/packages/*.deb

test-packages: packages ## Checks the packages, installs them into a bare Debian, and boots it (as root)
	@cmake/install-deps.sh test-packages
	tests/packages/check_packages.sh $(build_dir) $(build_dir)/rebuilt
	tests/packages/clean_system.sh $(build_dir)/packages $(build_dir)/clean-system
	tests/packages/service.sh $(build_dir)/clean-system

test-fleet: program ## Checks 200 cards on two nodes with Slurm and with GNU parallel, and kills a worker (as root)
	@cmake/install-deps.sh tests test-fleet
	tests/fleet/engines.sh $(build_dir) $(build_dir)/fleet-engines

test-pages: headroom ## Looks at pages in a browser, without scripts, by keyboard, and with axe-core (npm)
	@cmake/install-deps.sh test-pages $(shell command -v npm >/dev/null || echo npm)
	npm install --no-audit --no-fund --prefix $(build_dir)/pages puppeteer-core@23 axe-core@4
	tests/pages/check_pages.sh $(build_dir)

bench: build ## Builds, then runs the benchmarks (BENCH_ARGS="--benchmark_filter=..."): tables, and JSON
	@cmake/install-deps.sh bench
	$(bin_dir)/gpon_bench --benchmark_out=$(build_dir)/bench.json \
	    --curves=$(build_dir)/bench-curves.dat $(BENCH_ARGS)
	@echo; echo "The same in JSON: $(build_dir)/bench.json"; echo
	bench/programs.py $(build_dir)

bench-fleet: build ## Times fleets of 10,000 small cards and of 200 full ones
	bench/fleet.py $(build_dir)

plot: ## Draws docs/performance.svg from the last benchmarks
	@cmake/install-deps.sh plot
	gnuplot -e "data='$(build_dir)/bench-curves.dat'; open='$(build_dir)/bench-open.dat'; image='docs/performance.svg'" bench/curves.gp

mutants: build ## Plants faults in the plug-in and tells which no test notices (FILES="trace.cpp ...")
	nice tests/mutants/mutants.py $(build_dir) $(FILES)

soak: build ## Runs all golden cases 400 times in one process and looks for what grows
	GLIBC_TUNABLES=glibc.malloc.tcache_count=0 $(bin_dir)/soak 400 examples

fuzz: ## Looks for inputs that break something, SECONDS=n with each fuzzer (TWIN=ON: gpon-twin's as well)
	@cmake/install-deps.sh program fuzz $(if $(filter ON,$(TWIN)),twin)
	@{ test -f build/fuzz/build.ninja && { [ $(TWIN) = OFF ] || \
	    grep -q '^GPON_TWIN:BOOL=ON' build/fuzz/CMakeCache.txt; }; } || \
	    cmake --preset fuzz $(if $(filter ON,$(TWIN)),-DGPON_TWIN=ON)
	cmake --build --preset fuzz --parallel $(JOBS)
	fuzz/run.sh build/fuzz $(SECONDS)

coverage: ## Tells which lines and branches of the plug-in no test runs
	@cmake/install-deps.sh coverage
	@$(MAKE) PRESET=coverage configure
	cmake --build --preset coverage --parallel $(JOBS)
	find build/coverage -name '*.gcda' -delete
	ctest --preset coverage --parallel $(JOBS)
	gcovr --root . --object-directory build/coverage --filter src/validation/ \
	    --exclude-throw-branches --exclude-unreachable-branches \
	    --html-details build/coverage/report.html --txt build/coverage/lines.txt
	gcovr --root . --object-directory build/coverage --filter src/validation/ \
	    --exclude-throw-branches --exclude-unreachable-branches --branches --print-summary

docs: program ## Writes docs/rules anew from the rules' facts, the model and the golden cases
	cmake --build --preset $(PRESET) --target docs

api-docs: ## Writes the public headers' documentation as pages to browse
	@cmake/install-deps.sh api-docs
	@mkdir -p build/api-docs
	API_DOCS=build/api-docs doxygen docs/Doxyfile
	@echo "Browse build/api-docs/html/index.html"

build: configure ## Builds everything
	cmake --build --preset $(PRESET) --parallel $(JOBS)

# A folder that was configured for the program alone is configured again, and keeps what is built.
configure:
	@cmake/install-deps.sh program tests $(if $(filter ON,$(TWIN)),twin)
	@{ test -f $(build_dir)/build.ninja && grep -q '^GPON_TESTS:BOOL=ON' $(build_dir)/CMakeCache.txt && \
	    { [ $(TWIN) = OFF ] || grep -q '^GPON_TWIN:BOOL=ON' $(build_dir)/CMakeCache.txt; }; } || \
	    cmake --preset $(PRESET) $(if $(filter ON,$(TWIN)),-DGPON_TWIN=ON)

format: ## Formats all sources
	@cmake/install-deps.sh format
	find $(source_dirs) -name '*.h' -o -name '*.cpp' | xargs clang-format -i

# clang-tidy cannot read what GCC precompiled: hence a folder of its own, in which only sources that
# are generated are built. cppcheck cannot read the tests' macros and literals, and clang-tidy judges
# copied parameters better.
lint: ## Checks the sources with clang-tidy and cppcheck
	@cmake/install-deps.sh program tests lint
	cmake --preset $(PRESET) -B build/lint -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON
	cmake --build build/lint --parallel $(JOBS) --target base_h gpon_rules
	run-clang-tidy -quiet -p build/lint -j $(JOBS) \
	    -extra-arg=-Wno-unknown-warning-option '$(linted)'
	cppcheck --quiet --project=build/lint/compile_commands.json -j $(JOBS) \
	    --enable=warning,performance,portability --library=posix --inline-suppr \
	    --suppress=passedByValue --error-exitcode=1 -itests -ibench

clean: ## Removes what was built
	rm -rf build
