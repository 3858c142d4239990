# Building and running tests. Sourced by ./dev.

THREAD_SECONDS=${THREAD_SECONDS:-300} # of all that hosts do at once
# Tests in which threads meet, by name; these run under the thread sanitizer.
THREADED_TESTS='Thread|Lock|Spin|Event|Timer|Queue|Pool|Notifier|Worker|Concurr|Collector|Store|Parallel|AtOnce'

configure() { # PRESET [CMake options]
  local preset=$1
  shift
  mkdir -p build
  cmake --preset "$preset" "$@" >"build/$preset.configure.log" 2>&1 || {
    cat "build/$preset.configure.log"
    return 1
  }
}

# The plug-in and the host program alone; needs no test libraries.
build_product() {
  [[ -f build/release/build.ninja ]] || configure release -DLUM_TESTS=OFF -DLUM_BENCHMARKS=OFF
  ninja -C build/release SorrelGEQ sorrel-host sorrel-validate
}

# The validator with what it is to know of our plug-in.
validate_product() { # PRESET [OPTIONS]
  "build/$1/sorrel-validate" "build/$1/SorrelGEQ.so" --linear-phase --golden Tests/Data/Chunks "${@:2}"
}

build_all() { # PRESET [CMake options]
  configure "$1" -DLUM_TESTS=ON -DLUM_BENCHMARKS=ON "${@:2}" || return 1
  ninja -C "build/$1"
}

# The test programs that have tests in which threads meet.
build_tsan() {
  configure tsan -DLUM_TESTS=ON -DLUM_BENCHMARKS=OFF || return 1
  ninja -C build/tsan tests_platform tests_core tests_other tests_audio tests_host SorrelGEQ \
    sorrel-validate
}

# All that hosts do at once goes through the binary, and halts at the first race.
test_tsan() {
  run_tests tsan -R "$THREADED_TESTS" &&
    TSAN_OPTIONS=halt_on_error=1 validate_product tsan --only Threads \
      --thread-seconds "$THREAD_SECONDS"
}

# The fuzzers share their libraries with the tests of the address sanitizer.
build_fuzzers() {
  configure asan -DLUM_TESTS=ON -DLUM_BENCHMARKS=OFF || return 1
  ninja -C build/asan lum_fuzzers
}

# Runs ctest and ends with a line that counts, "N passed, N failed".
run_tests() { # PRESET [ctest options]
  local folder=build/$1 log=build/$1/tests.log status=0
  shift
  ctest --test-dir "$folder" -j "$(nproc)" --output-on-failure --timeout 900 "$@" 2>&1 |
    tee "$log" || status=1
  # ctest closes with "98% tests passed, 2 tests failed out of 100".
  local failed total
  failed=$(sed -n 's/.* tests passed, \([0-9]*\) tests\{0,1\} failed out of [0-9]*/\1/p' "$log")
  total=$(sed -n 's/.* tests\{0,1\} failed out of \([0-9]*\)/\1/p' "$log")
  if [[ -z $total || $total -eq 0 ]]; then
    echo "no test ran"
    return 1
  fi
  echo "$((total - failed)) passed, $failed failed"
  return $status
}

run_fuzzers() { # TARGET-or-empty SECONDS
  local program name corpus status=0 found=0
  for program in build/asan/fuzz_*; do
    [[ -x $program && -f $program ]] || continue
    name=${program##*/fuzz_}
    [[ -z $1 || $1 == "$name" ]] || continue
    found=1
    corpus=build/asan/corpus/$name # grows beside the seeds, which stay as they are
    mkdir -p "$corpus" build/findings
    local seeds=()
    [[ -d Tests/Fuzz/Corpus/$name ]] && seeds=("Tests/Fuzz/Corpus/$name")
    echo "fuzzing $name for $2 s"
    "$program" -max_total_time="$2" -timeout=20 -rss_limit_mb=1024 -print_final_stats=1 \
      -artifact_prefix="build/findings/$name-" "$corpus" "${seeds[@]}" \
      >"build/asan/$name.log" 2>&1 || { tail -40 "build/asan/$name.log"; status=1; }
    sed -n 's/^stat::number_of_executed_units: */  executions: /p' "build/asan/$name.log"
  done
  [[ $found -eq 1 ]] || { echo "there is no fuzz target ${1:-}"; [[ -z $1 ]] || return 1; }
  return $status
}

# All our C++ files, those not yet in the repository included, each ended by a zero byte.
source_files() {
  git ls-files -z -co --exclude-standard -- 'Sources/*.h' 'Sources/*.cpp' 'Tools/*.h' \
    'Tools/*.cpp' 'Tests/*.h' 'Tests/*.cpp' 'Benchmarks/*.h' 'Benchmarks/*.cpp' 'Product/*.h'
}
