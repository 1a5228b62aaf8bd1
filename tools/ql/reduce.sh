# ./ql reduce FILE [--matrix=CONFIGURATION] [--script S]: makes a failing program small.
install "${run_packages[@]}" cvise
build_targets qlparse qlopt qlrun qlgen qlasm qldump
exec python3 "$root/tools/judges/reducerun.py" --build "$build" "$@"
