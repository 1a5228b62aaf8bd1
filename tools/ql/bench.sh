# ./ql bench [KERNEL...]: quality of optimized code over kernels, cost of optimizing by size; table, JSON, plot.
install "${run_packages[@]}"
build_targets qlparse qlopt qlrun qlgen
exec python3 "$root/tools/judges/benchrun.py" --build "$build" --kernels "$root/bench/kernels" "$@"
