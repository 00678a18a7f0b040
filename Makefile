# The front door. Each target sets up what it needs on a fresh Debian 12 or 13 machine; the work is done
# by scripts/ and the CMake presets. PRESET=debug selects the other build.

PRESET ?= release
export PRESET
.DEFAULT_GOAL := help
.PHONY: help demo test build bench lint fuzz docs package windows-kit clean

help: ## this list
	@sed -n 's/^\([a-z-]*\):.* *## /  make \1\t/p' $(firstword $(MAKEFILE_LIST)) | expand -t 20

demo: ## run the main job on real data of this machine and say where the results lie
	@scripts/setup demo
	@scripts/build vtctl
	@scripts/demo

test: ## build and run all tests and, briefly, all fuzzers, closing with one summary line
	@scripts/setup test fuzz
	@scripts/build
	@scripts/fuzz --runs 5000
	@scripts/run-tests

build: ## build the preset, nothing more
	@scripts/setup build
	@scripts/build

bench: ## benchmarks beside peers and raw calls, as ratios
	@scripts/setup bench
	@scripts/build benchmarks
	@scripts/bench

lint: ## formatting, clang-tidy on what has changed since it was last clean, shellcheck
	@scripts/setup lint bench # benchmarks are sources too
	@scripts/lint

fuzz: ## native build with sanitizers; each fuzzer runs for SECONDS (300)
	@scripts/setup fuzz
	@scripts/fuzz $(or $(SECONDS),300)

docs: ## interface documentation in build/docs
	@scripts/setup docs
	@scripts/docs

package: ## installable zip in build/package
	@scripts/setup package docs
	@scripts/docs
	@scripts/build
	@scripts/package

windows-kit: ## zip with the tests for a bare Windows Server, in build/windows-kit
	@scripts/setup test package
	@scripts/build
	@scripts/windows-kit

clean: ## remove everything that was built (the cached libcrypto stays)
	@rm -rf build
