# ./dev check and ./dev lint: a list of steps, each a function; all run, a summary closes.

FUZZ_SECONDS=${FUZZ_SECONDS:-5}     # for each target
BUILD_SECONDS=${BUILD_SECONDS:-0}   # of a whole build; see has_time_for
TIDY_FILES=30                    # the analyzer takes up to ten seconds for one file
# Left out: what -Wconversion already covers or our own style allows; pointers in integers, which the
# host contract carries; exceptions out of main(), which name themselves well enough.
TIDY_CHECKS='-*,bugprone-*,performance-*,modernize-use-override,modernize-use-nullptr,google-explicit-constructor,-bugprone-easily-swappable-parameters,-bugprone-narrowing-conversions,-bugprone-misplaced-widening-cast,-bugprone-implicit-widening-of-multiplication-result,-performance-no-int-to-ptr,-bugprone-exception-escape'

check_format() { source_files | xargs -0 clang-format --dry-run -Werror; }

check_includes() { Tools/Dev/check-includes; }

# Every header compiles alone, as the first line of a file.
check_headers() {
  compile_header() {
    local flags=(-std=c++20 -fsyntax-only -Wall -Wextra -Werror -Wno-unused-function
      -Wno-unused-const-variable -ISources -ITools -ITests -IProduct -IBenchmarks
      -DLUM_HOST_PROGRAM='""' -DLUM_TEST_PLUGIN='""' -DLUM_PLUGIN='""' -DLUM_TEST_DATA='""')
    clang++ "${flags[@]}" -x c++ - <<<"#include \"$PWD/$1\"" 2>&1 || { echo "alone: $1"; return 1; }
  }
  export -f compile_header
  source_files | tr '\0' '\n' | grep '\.h$' |
    xargs -P "$(nproc)" -I{} bash -c 'compile_header {}'
}

# Every test file is part of a program.
check_registered() {
  local file status=0
  while IFS= read -r file; do
    grep -qF "/$file\"" build/release/compile_commands.json ||
      { echo "$file is in no test program"; status=1; }
  done < <(find Tests -name '*Test.cpp' | sort)
  return $status
}

# No file tells of a machine on which it was written, or points to papers outside the tree.
check_words() {
  local outside='/(work|root|tmp)/[a-z]|[Pp]art [1-7]\.[0-9]|[Ii]ssue #?[0-9]|[Tt]he spec(ification)?\b'
  ! git ls-files -co --exclude-standard | grep -v '^Tools/Dev/check.sh$' |
    xargs -d '\n' grep -nIE "$outside"
}

check_gcc() { build_all release; }

check_tsan() { build_tsan && test_tsan; }

check_realtime() { build/release/tests_realtime; }

# Killed writers, full disks, damaged data, refused memory.
check_faults() { build/release/tests_faults; }

# The whole binary as a host sees it.
check_conformance() { validate_product release --quick; }

# Sources that changed since the main branch, or with the last commit where this is that branch.
changed_sources() {
  local base
  base=$(git merge-base HEAD origin/main 2>/dev/null || true)
  if [[ -z $base || $base == $(git rev-parse HEAD) ]]; then
    base=$(git rev-parse -q --verify HEAD~1 || git hash-object -t tree /dev/null)
  fi
  { git diff --name-only --diff-filter=d "$base"; git ls-files -o --exclude-standard; } |
    grep -E '^(Sources|Tools)/.*\.cpp$' | sort -u
}

check_tidy() {
  local files
  mapfile -t files < <(changed_sources)
  if [[ ${#files[@]} -eq 0 ]]; then return; fi
  if [[ ${#files[@]} -gt $TIDY_FILES ]]; then
    echo "${#files[@]} changed files, the first $TIDY_FILES of them"
    files=("${files[@]:0:$TIDY_FILES}")
  fi
  [[ -f build/asan/compile_commands.json ]] || configure asan
  printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 1 \
    clang-tidy -p build/asan --quiet --warnings-as-errors='*' --checks="$TIDY_CHECKS" 2>/dev/null
}

# Built by clang, the second compiler whose warnings count, under the address sanitizer.
check_fuzz() { build_fuzzers && run_fuzzers "" "$FUZZ_SECONDS"; }

# Whether a step that builds everything once more may still begin. Whoever has to end in time says
# when, CHECK_UNTIL in seconds of the epoch, and how long a whole build takes there, BUILD_SECONDS.
has_time_for() { # STEP
  local needed=0
  case $1 in
    fuzz) needed=$((BUILD_SECONDS + 20 * FUZZ_SECONDS)) ;;
    tsan) needed=$((BUILD_SECONDS * 3 / 2 + THREAD_SECONDS)) ;;
  esac
  [[ -z ${CHECK_UNTIL:-} || $needed -eq 0 ]] || (($(date +%s) + needed <= CHECK_UNTIL))
}

# Runs the steps in turn, each with its output in a file that is shown when it fails.
run_steps() {
  local step start status=0 summary=()
  mkdir -p build
  for step in "$@"; do
    if ! has_time_for "$step"; then
      summary+=("left  $step (no time for it; ./dev $step)")
      continue
    fi
    start=$SECONDS
    echo "== $step"
    if (set -o pipefail; "check_$step") >"build/check-$step.log" 2>&1; then
      summary+=("ok    $step ($((SECONDS - start)) s)")
    else
      summary+=("FAIL  $step ($((SECONDS - start)) s): build/check-$step.log")
      tail -60 "build/check-$step.log"
      status=1
    fi
  done
  printf '\n'
  printf '%s\n' "${summary[@]}"
  return $status
}

cmd_lint() {
  need "${PACKAGES_BUILD[@]}" "${PACKAGES_TEST[@]}" "${PACKAGES_CHECK[@]}"
  run_steps format includes headers words tidy
}

cmd_check() {
  need "${PACKAGES_BUILD[@]}" "${PACKAGES_TEST[@]}" "${PACKAGES_CHECK[@]}"
  run_steps format includes words gcc registered headers realtime faults conformance tidy fuzz tsan
}
