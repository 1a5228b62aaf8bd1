# ./ql faults [FAULT...]: plants faults in qlopt; tells which judge catches each, bisects and reduces it.
install "${run_packages[@]}" csmith libcsmith-dev cvise
build_targets qlparse qlopt qlrun qlgen qlasm qldump oracle_{rows_{arith,bits,cond,rare,vals},shapes_cond,value_queries,whole_trees}
exec python3 "$root/tools/judges/faultsrun.py" --build "$build" "$@"
