# ./ql faults [FAULT...]: plants faults in a copy of the sources; tells which judge catches each, bisects and reduces it.
install "${run_packages[@]}" csmith libcsmith-dev cvise
build_targets qlparse qlopt qlrun qlgen qlasm qldump
exec python3 "$root/tools/judges/faultsrun.py" --build "$build" "$@"
