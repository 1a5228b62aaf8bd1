# ./ql bisect FILE [--matrix=CONFIGURATION]: the pass run and the single rewrite that break a program.
install "${run_packages[@]}"
build_targets qlparse qlopt qlrun qlgen qlasm
exec python3 "$root/tools/judges/bisectrun.py" --build "$build" "$@"
