# ./ql diff FILE.c... [--matrix=quick|full|LIST] [--json FILE]: compares programs in many configurations.
install "${run_packages[@]}"
build_targets qlparse qlopt qlrun qlgen
exec python3 "$root/tools/judges/diffrun.py" --build "$build" "$@"
