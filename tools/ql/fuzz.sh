# ./ql fuzz [--minutes N] [--seed S] [--generator own|csmith|both]: hunts with random programs.
install "${run_packages[@]}" csmith libcsmith-dev
build_targets qlparse qlopt qlrun qlgen
exec python3 "$root/tools/judges/fuzzrun.py" --build "$build" "$@"
