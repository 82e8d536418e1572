#!/bin/bash
# test.sh [--quick] [--offline] [STAGE...]
#
# Builds and tests everything, from nothing if need be; as root on Debian 12 it installs what is missing first.
# --quick does the inner loop alone: the portable code under AddressSanitizer and UndefinedBehaviorSanitizer.
# --offline fetches nothing. Named stages are run alone, in the order of `test.sh --list`.
#
# Every stage's output stands in build/logs/<stage>.log; that of a failing stage is shown. Stages that failed do not
# keep later ones from being run. Ends with the number of tests passed and failed, a check counting as one test, and
# is successful only if nothing failed.
#
# JOBS  compilers and tests at a time, one per processor if unset
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
jobs=${JOBS:-$(nproc)}
logs=$PWD/build/logs
offline=()
# What one clone has compiled serves every other.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

# ---- the stages -----------------------------------------------------------------------------------------------

all_stages=(setup third-party format native-asan headers native-tsan native fuzz tidy windows scan)
# Run by name alone: the traps and assertions of a debug build under Wine.
named_stages=(windows-debug)
quick_stages=(setup third-party native-asan)

stage_setup() {
  if [ ${#offline[@]} -gt 0 ]; then cmake/setup.sh --check; else cmake/setup.sh; fi
}

stage_third-party() { third_party/build.sh "${offline[@]}"; }

# A clone that belongs to another user is this one all the same.
stage_format() { git -c safe.directory='*' ls-files -z '*.cpp' '*.h' | xargs -0 -r clang-format-19 --dry-run -Werror; }

stage_native-asan() {
  export ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1
  build native-asan && run_tests native-asan
}

stage_headers() { configure native-asan && compile native-asan header_check && configure windows && compile windows header_check; }

stage_native-tsan() {
  export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
  # ThreadSanitizer of this compiler does not know every address layout that a kernel may choose.
  local fixed_layout=()
  setarch --addr-no-randomize true 2>/dev/null && fixed_layout=(setarch --addr-no-randomize)
  # The scanner's worker keeps to one thread. What its tests hand over to it goes through ZeroMQ, which is compiled
  # without ThreadSanitizer: it would see two threads at one message and nothing between them.
  build native-tsan && run_tests native-tsan "${fixed_layout[@]}" -- -E '^scanner\.'
}

# The command and the benchmarks as they are used: optimised. The tests of the same code ran under the sanitizers.
stage_native() { build native; }

# The same inputs in every run, from one seed: what is found here is found again. FUZZ_SEED=0 takes another each time, and
# FUZZ_SECONDS more of them.
stage_fuzz() {
  build native-fuzz || return 1
  local target name
  mkdir -p build/fuzz
  for target in build/native-fuzz/bin/*Fuzz; do
    name=$(basename "$target")
    mkdir -p "build/fuzz/$name" "fuzz/corpus/$name"
    echo "$name"
  done | xargs -P "$jobs" -I{} sh -c '
    build/native-fuzz/bin/{} -seed='"${FUZZ_SEED:-1}"' -max_total_time='"${FUZZ_SECONDS:-20}"' -timeout=25 -rss_limit_mb=2048 -print_final_stats=1 \
      -artifact_prefix=build/fuzz/{}- build/fuzz/{} fuzz/corpus/{} >build/logs/fuzz-{}.log 2>&1
    status=$?
    grep -h "stat::number_of_executed_units" build/logs/fuzz-{}.log | sed "s/^stat::number_of_executed_units:/{}: executions/"
    [ $status = 0 ] || { tail -40 build/logs/fuzz-{}.log; echo "{}: failed with $status"; exit 1; }'
}

stage_windows() { on_windows windows; }

# The script for whoever has just cloned this; what it would build has been built.
stage_scan() { tests/scan_sh_test.py; }

# Without what waits for minutes and looks at the process from outside: that is the release build's to show.
stage_windows-debug() { on_windows windows-debug -LE slow; }

# Each source once, with the options of the build that it belongs to.
stage_tidy() {
  local status=0
  build native-asan && cmake/tidy.py build/native-asan || status=1
  build native && cmake/tidy.py build/native bench || status=1
  build native-fuzz && cmake/tidy.py build/native-fuzz fuzz || status=1
  return $status
}

# ---- how they are made ----------------------------------------------------------------------------------------

configure() { cmake --preset "$1" -Wno-dev >"$logs/$1-configure.log" 2>&1 || { cat "$logs/$1-configure.log"; return 1; }; }

compile() { ninja -C "build/$1" -j "$jobs" "${@:2}"; }

build() { configure "$1" && compile "$1"; }

# Tests of one preset, with their numbers left in the file that the sum is made from.
run_tests() { # PRESET [command to run ctest with...] [-- ctest argument...]
  local preset=$1 runner=() status
  shift
  while [ $# -gt 0 ] && [ "$1" != -- ]; do runner+=("$1"); shift; done
  [ $# = 0 ] || shift
  # How numbers look under a decimal comma is tested where there is such a locale: a bare machine has none.
  if [[ $preset = native* ]]; then
    export LOCPATH=$PWD/build/locales LSAN_OPTIONS=suppressions=$PWD/cmake/lsan.supp:print_suppressions=0
    mkdir -p "$LOCPATH"
    [ -d "$LOCPATH/de_DE.UTF-8" ] || localedef -i de_DE -f UTF-8 "$LOCPATH/de_DE.UTF-8" || return 1
  fi
  "${runner[@]}" ctest --preset "$preset" -j "$jobs" --no-tests=error --output-junit "$logs/$preset-tests.xml" "$@"
  status=$?
  sed -nE '/<testsuite/,/>/{s/.*[[:space:]](tests|failures|skipped)="([0-9]+)".*/\1 \2/p}' "$logs/$preset-tests.xml" \
    >"$logs/$stage.count"
  awk -F'"' '/<testcase /{name=$2} /<skipped /{print name}' "$logs/$preset-tests.xml" >"$logs/$stage.skipped"
  return $status
}

on_windows() { # PRESET [ctest argument...]
  . cmake/wine-env.sh
  build "$1" || return 1
  wine_start || { echo "Wine does not start"; return 1; }
  # Tests that are ended from outside leave what they registered: the prefix of such a run is made anew.
  rm "$WINEPREFIX/.tarvik-ready"
  local status=0
  # Of thousands of processes Wine does not begin one or two, which end at once: what fails is run once more, and named.
  # Why a process does not begin is for Wine's loader to say.
  export WINEDEBUG=-all,err+module
  run_tests "$1" -- --repeat until-pass:2 "${@:2}" || status=1
  touch "$WINEPREFIX/.tarvik-ready"
  wine_stop
  return $status
}

count() { # FIELD: a number that ctest left for this stage
  awk -v field="$1" '$1 == field { sum += $2 } END { print sum + 0 }' "$logs/$stage.count"
}

passed=0 failed=0 failed_stages=() remarks=
run_stage() {
  stage=$1
  local began=$SECONDS result=passed tests=
  echo "== $stage"
  rm -f "$logs/$stage.count" "$logs/$stage.skipped"
  if ! ("stage_$stage") >"$logs/$stage.log" 2>&1 </dev/null; then
    result=FAILED
    failed_stages+=("$stage")
    tail -150 "$logs/$stage.log"
    echo "== $stage FAILED; all of it: build/logs/$stage.log"
  fi
  if [ -s "$logs/$stage.count" ]; then
    local ran failures
    ran=$(($(count tests) - $(count skipped)))
    failures=$(count failures)
    tests="$((ran - failures)) of $ran tests"
    if [ -s "$logs/$stage.skipped" ]; then
      tests="$tests, $(count skipped) skipped"
      remarks+=$(sed "s/^/Skipped in $stage: /" "$logs/$stage.skipped")$'\n'
    fi
    # Those that failed at last are told above; what passed only when it was run again shows here alone.
    remarks+=$(sed -nE "s/^.* Test +#[0-9]+: ([^ ]+) .*\*\*\*(Failed|Exception|Timeout).*/Failed once in $stage: \1/p" \
      "$logs/$stage.log" | sort -u; echo .)
    remarks=${remarks%.}
    passed=$((passed + ran - failures)) failed=$((failed + failures))
    # A stage may fail beside its tests: it must show in the sum.
    [ $result = passed ] || [ "$failures" != 0 ] || failed=$((failed + 1))
  elif [ $result = passed ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
  fi
  table+=$(printf '%-14s %-7s %5d s%s' "$stage" "$result" $((SECONDS - began)) "${tests:+  $tests}")$'\n'
  echo "== $stage $result, $((SECONDS - began)) s${tests:+, $tests}"
  [ $result = passed ]
}

stages=()
for argument; do
  case $argument in
    --quick) stages=("${quick_stages[@]}") ;;
    --offline) offline=(--offline); export TARVIK_OFFLINE=1 ;;
    --list) printf '%s\n' "${all_stages[@]}" "${named_stages[@]}"; exit 0 ;;
    *)
      declare -F "stage_$argument" >/dev/null || { sed -n '2,12s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 2; }
      stages+=("$argument")
      ;;
  esac
done
[ ${#stages[@]} -gt 0 ] || stages=("${all_stages[@]}")

mkdir -p "$logs"
table=
trap 'exit 130' INT TERM
for stage in "${stages[@]}"; do
  if ! run_stage "$stage" && { [ "$stage" = setup ] || [ "$stage" = third-party ]; }; then
    echo "Nothing can be built without that."
    break
  fi
done
echo
printf '%s' "$table" "$remarks"
[ ${#failed_stages[@]} = 0 ] || echo "Failed: ${failed_stages[*]}"
echo "$passed passed, $failed failed"
[ $failed = 0 ]
