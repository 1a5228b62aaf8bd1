# ./ql coverage: rewrite rules and transformations that never fire on the corpus.
install "${run_packages[@]}"
oracle=("$root"/tests/oracle/*.cpp)
oracle=("${oracle[@]##*/}")
oracle=("${oracle[@]/#/oracle_}")
build_targets qlparse qlopt "${oracle[@]%.cpp}"
exec python3 "$root/tools/judges/coveragerun.py" --build "$build" --root "$root" "$@"
