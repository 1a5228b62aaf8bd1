# ./ql coverage: rewrite rules and transformations that never fire on the corpus.
install "${run_packages[@]}"
build_targets qlparse qlopt
exec python3 "$root/tools/judges/coveragerun.py" --build "$build" --root "$root" "$@"
