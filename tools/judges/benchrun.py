#!/usr/bin/env python3
"""./ql bench: the quality of optimized code, and what optimizing costs.

Quality: each kernel under bench/kernels, as parsed and at each level. Executed nodes come from the interpreter, executed
ARM instructions from qemu-arm with the plugin executed.c, which counts in a section of its own that holds the program's
code and nothing of the library, the size from that section. All are exact: they do not depend on the machine or its load.
The code generator's part is the same for every level: qlgen with the cross compiler kept to selecting instructions and
giving out registers. The cross compiler and clang at -O2 are the measure of what there is to win.

Cost: qlopt's processor time and memory over generated files, by regions of one function and by functions; growth is the
exponent of a power law through the upper half of the sizes: 1 is linear.
"""
import argparse, json, math, os, re, subprocess, sys, tempfile, time

from progress import Progress, spread
import benchplot, stages

HERE = os.path.dirname(os.path.abspath(__file__))
LEVELS = ["o0", "o1", "o2", "o3", "o4.wp"]
OTHERS = {
    "gcc -O2": ["arm-linux-gnueabihf-gcc", "-marm", "-O2", "-fno-reorder-functions", "-ffp-contract=off", "-std=gnu11", "-w"],
    "clang -O2": ["clang-14", "--target=armv7a-none-linux-gnueabihf", "-marm", "-mfpu=vfpv3-d16", "-O2", "-ffp-contract=off",
                  "-std=gnu11", "-w", "-isystem", "/usr/arm-linux-gnueabihf/include"],
}
VARIANTS = ["none"] + LEVELS + list(OTHERS)


class Bench:
    def __init__(self, build, place):
        self.judge = stages.Judge(build, 60)
        self.place = place
        self.plugin = os.path.join(place, "libexecuted.so")
        self.spent = os.path.join(place, "spent")
        subprocess.run(["gcc", "-O2", os.path.join(HERE, "spent.c"), "-o", self.spent], check=True)
        subprocess.run(["gcc", "-O2", "-shared", "-fPIC", os.path.join(HERE, "executed.c"), "-o", self.plugin], check=True)
        options = stages.run([self.judge.tool("tools", "gen", "qlgen"), "--print-backend-options"]).out.decode().split()
        self.backend = ["arm-linux-gnueabihf-gcc", "-marm", "-w"] + options

    # ---- quality

    def kernel(self, job):
        """What one variant of one kernel executes: {nodes, instructions, bytes, output}, or a text that says what failed."""
        path, variant = job
        name = re.sub(r"\W", "_", os.path.basename(path) + "_" + variant)
        at = lambda end: os.path.join(self.place, name + end)
        found = {}
        if variant in OTHERS:
            compiled = stages.run(OTHERS[variant] + ["-c", path, "-o", at(".o")])
        else:
            file = at(".if")
            made = self.judge.parse(path, file)
            if not made.status and variant != "none":
                made = self.judge.optimize(file, at(".opt.if"), variant)
                file = at(".opt.if")
            if made.status:
                return job, made.says()
            ran = stages.run([self.judge.tool("tools", "exec", "qlrun"), "--counts=json", "--counts-file=" + at(".json"), file])
            if ran.status:
                return job, ran.says()
            found["nodes"] = stages.total(at(".json"))["nodes"]
            found["interpreted"] = ran.out
            made = stages.run([self.judge.tool("tools", "gen", "qlgen"), file, "-o", at(".gen.c")])
            if made.status:
                return job, made.says()
            compiled = stages.run(self.backend + ["-c", at(".gen.c"), "-o", at(".o")], timeout=120)
        if compiled.status:
            return job, compiled.says()
        found.update(self.executed(at) or {})
        if found.get("interpreted", found.get("output")) != found.get("output"):
            return job, "the ARM program and the interpreter differ"
        found.pop("interpreted", None)
        return job, found

    def executed(self, at):
        """Links an object with its code in a section of its own, and counts what is executed there."""
        subprocess.run(["arm-linux-gnueabihf-objcopy", "--rename-section", ".text=ql_text", at(".o")], check=True)
        subprocess.run(["arm-linux-gnueabihf-gcc", "-static", at(".o"), "-o", at(""), "-lm"], check=True)
        sections = stages.run(["arm-linux-gnueabihf-readelf", "-SW", at("")]).out.decode()
        m = re.search(r"\bql_text\s+PROGBITS\s+([0-9a-f]+)\s+[0-9a-f]+\s+([0-9a-f]+)", sections)
        first, size = int(m.group(1), 16), int(m.group(2), 16)
        ran = stages.run(["qemu-arm", "-plugin", "%s,first=%d,end=%d,out=%s" % (self.plugin, first, first + size, at(".n")),
                          at("")], timeout=120, env={})
        with open(at(".n")) as f:
            return {"instructions": int(f.read()), "bytes": size, "output": ran.out, "status": ran.status}

    def quality(self, kernels, jobs):
        results, failures = {}, []
        work = [(k, v) for k in kernels for v in VARIANTS]
        progress = Progress(len(work))
        for (path, variant), found in spread(self.kernel, work, jobs):
            progress.step(isinstance(found, str))
            kernel = os.path.basename(path)[:-2]
            if isinstance(found, str):
                failures.append("%s, %s: %s" % (kernel, variant, found))
            else:
                results.setdefault(kernel, {})[variant] = found
        progress.clear()
        for kernel, variants in results.items():
            if len({(v["output"], v["status"]) for v in variants.values()}) > 1:
                failures.append("%s: the results of the variants differ" % kernel)
            for v in variants.values():
                del v["output"], v["status"]
        return dict(sorted(results.items())), failures

    # ---- cost

    def cost(self, text, level, repeat):
        """Least processor seconds and peak memory of qlopt over a C text."""
        source, parsed = os.path.join(self.place, "cost.c"), os.path.join(self.place, "cost.if")
        with open(source, "w") as f:
            f.write(text)
        made = self.judge.parse(source, parsed)
        if made.status:
            raise SystemExit("generated file: " + made.says())
        seconds, memory = min(self.run_once(parsed, level, False) for _ in range(repeat))
        return {"seconds": round(seconds, 3), "memory": memory, "input": os.path.getsize(parsed)}

    def run_once(self, parsed, level, check):
        """Processor seconds and peak bytes of one run of qlopt."""
        command = [self.judge.qlopt] + [o for o in stages.options(level) if check or o != "--debug:validate"]
        told = os.path.join(self.place, "spent.txt")
        ran = stages.run([self.spent, told] + command + [parsed, os.path.join(self.place, "cost.out.if")], timeout=600)
        if ran.status:
            raise SystemExit("qlopt failed on a generated file: " + ran.says())
        with open(told) as f:
            seconds, kilobytes = f.read().split()
        return float(seconds), int(kilobytes) * 1024

    def growth(self, what, sizes, make, level):
        """What each size costs, and the exponents of time and memory."""
        points = []
        for size in sizes:
            spent = self.cost(make(size), level, 3 if size <= sizes[len(sizes) // 2] else 1)
            points.append(dict(size=size, **spent))
            print("  %-10s %7d %9.3f s %9.1f MB  (input %.1f MB)" %
                  (what, size, spent["seconds"], spent["memory"] / 1e6, spent["input"] / 1e6), flush=True)
        upper = points[len(points) // 2 - 1:]
        floor = points[0]
        return {"points": points, "level": level, "time exponent": slope([(p["size"], p["seconds"]) for p in upper]),
                "memory exponent": slope([(p["size"], p["memory"]) for p in upper if p["memory"] > 2 * floor["memory"]])}

    def pass_times(self, text, level):
        source, parsed = os.path.join(self.place, "cost.c"), os.path.join(self.place, "cost.if")
        with open(source, "w") as f:
            f.write(text)
        self.judge.parse(source, parsed)
        command = [self.judge.qlopt] + [o for o in stages.options(level) if o != "--debug:validate"]
        err = stages.run(command + ["--debug:pass_times", parsed, os.path.join(self.place, "out.if")], timeout=300).err.decode()
        return [{"pass": m.group(3), "seconds": float(m.group(1)), "runs": int(m.group(2))}
                for m in re.finditer(r"^ *([\d.]+) sec +[\d.]+% +(\d+) runs +(.*)$", err, re.M)]

    def checking(self, text, level):
        """Processor time of qlopt with the structure check over that without."""
        self.cost(text, level, 1)
        parsed = os.path.join(self.place, "cost.if")
        seconds = [min(self.run_once(parsed, level, check)[0] for _ in range(3)) for check in (False, True)]
        return seconds[1] / seconds[0] if seconds[0] else 1.0


def slope(points):
    """The exponent of a power law, by least squares; None for fewer than two points."""
    logs = [(math.log(x), math.log(y)) for x, y in points if y > 0]
    if len(logs) < 2:
        return None
    mx, my = sum(x for x, _ in logs) / len(logs), sum(y for _, y in logs) / len(logs)
    over = sum((x - mx) ** 2 for x, _ in logs)
    return round(sum((x - mx) * (y - my) for x, y in logs) / over, 2) if over else None


def one_function(regions):
    """A function of so many regions: loops, branches, nests, taken in turn."""
    shapes = [
        "    for (i = 0; i < n; i++) a[i & 63] += x * {k};",
        "    if (x > {k}) y += a[{m}]; else y ^= {k}u;",
        "    while (x > {k}) { x -= n + 1; y += (unsigned)x; }",
        "    switch (y & 3) { case 0: x += {m}; break; case 1: y *= 3; break; default: x ^= {k}; }",
        "    for (i = {m}; i > 0; i--) if (a[i] < b[i & 15]) a[i] = (int)(b[i & 15] + y);",
        "    do { y = y * 5 + (unsigned)a[(x + {m}) & 63]; } while (y & {k} && --n > 0);",
    ]
    lines = ["int a[64];", "short b[16];", "unsigned f(int n, int x)", "{", "    int i;", "    unsigned y = 1;"]
    for r in range(regions):
        lines.append(shapes[r % len(shapes)].replace("{k}", str(r * 7 % 1000 + 1)).replace("{m}", str(r % 60)))
    return "\n".join(lines + ["    return y + (unsigned)x;", "}", ""])


def many_functions(count):
    lines = ["int a[64];"]
    for f in range(count):
        call = "f%d(x - 1, %d)" % (f // 2, f % 9) if f % 3 == 0 and f else "x"
        lines.append("unsigned f%d(int x, int n) { unsigned y = %du; if (x <= 0) return y; for (int i = 0; i < n; i++) "
                     "y += (unsigned)(a[(i + %d) & 63] * x); return y ^ (unsigned)%s; }" % (f, f, f % 64, call))
    return "\n".join(lines) + "\n"


def mean(values):
    return math.exp(sum(math.log(v) for v in values) / len(values)) if values else float("nan")


def show_quality(results):
    for what, variants in (("nodes", ["none"] + LEVELS), ("instructions", VARIANTS), ("bytes", VARIANTS)):
        title = {"nodes": "executed nodes", "instructions": "executed ARM instructions", "bytes": "bytes of code"}[what]
        print("\n%s: without optimizing, and the others in percent of it" % title)
        print("%-10s %11s" % ("kernel", "none") + "".join("%10s" % v for v in variants[1:]))
        ratios = {v: [] for v in variants[1:]}
        for kernel, found in results.items():
            base = found.get("none", {}).get(what)
            cells = ""
            for v in variants[1:]:
                value = found.get(v, {}).get(what)
                if base and value:
                    ratios[v].append(value / base)
                cells += "%9.1f%%" % (100 * value / base) if base and value else "%10s" % "-"
            print("%-10s %11s" % (kernel, base or "-") + cells)
        print("%-10s %11s" % ("mean", "") + "".join("%9.1f%%" % (100 * mean(ratios[v])) if ratios[v] else "%10s" % "-"
                                                    for v in variants[1:]))


def main():
    ap = argparse.ArgumentParser(prog="./ql bench", description="Code quality over kernels; cost of optimizing by size.")
    ap.add_argument("--build", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--kernels", required=True, help=argparse.SUPPRESS)
    ap.add_argument("--only", choices=["quality", "cost"], help="one part alone")
    ap.add_argument("--level", default="o2", help="the configuration whose cost is measured (o2)")
    ap.add_argument("--out", metavar="FOLDER", help="where bench.json and bench.svg go (default: bench in the build folder)")
    ap.add_argument("--jobs", type=int, default=int(os.environ.get("QL_JOBS", os.cpu_count())))
    ap.add_argument("names", nargs="*", metavar="KERNEL", help="only these kernels, by name or as files")
    args = ap.parse_args()
    out = args.out or os.path.join(args.build, "bench")
    os.makedirs(out, exist_ok=True)
    start = time.monotonic()
    known = sorted(n for n in os.listdir(args.kernels) if n.endswith(".c"))
    kernels = [n if n.endswith(".c") else os.path.join(args.kernels, n + ".c") for n in args.names] or \
        [os.path.join(args.kernels, n) for n in known]
    report, failures = {"variants": VARIANTS}, []
    with tempfile.TemporaryDirectory(prefix="qlbench") as place:
        bench = Bench(args.build, place)
        if args.only != "cost":
            report["quality"], failures = bench.quality(kernels, args.jobs)
            show_quality(report["quality"])
        if args.only != "quality":
            print("\ncost of qlopt at %s: processor time and memory" % args.level)
            report["regions"] = bench.growth("regions", [500, 1000, 2000, 4000, 8000, 16000], one_function, args.level)
            report["functions"] = bench.growth("functions", [1, 10, 100, 1000, 10000, 100000], many_functions, args.level)
            for what in ("regions", "functions"):
                print("  growth with %s: time to the power of %s, memory %s" %
                      (what, report[what]["time exponent"], report[what]["memory exponent"]))
            report["passes"] = bench.pass_times(one_function(4000), args.level)
            total = sum(p["seconds"] for p in report["passes"]) or 1
            print("  passes over 4000 regions, %.3f s in all:" % total)
            for p in report["passes"][:8]:
                print("    %7.3f s %5.1f%%  %s" % (p["seconds"], 100 * p["seconds"] / total, p["pass"]))
            report["checking"] = round(bench.checking(one_function(4000), args.level), 2)
            print("  with the structure check after every pass: %.2f times" % report["checking"])
    with open(os.path.join(out, "bench.json"), "w") as f:
        json.dump(report, f, indent=1)
    with open(os.path.join(out, "bench.svg"), "w") as f:
        f.write(benchplot.plot(report))
    for failure in failures:
        print(failure)
    print("\n%d kernels, %d failures, %.0f s; %s" % (len(report.get("quality", {})), len(failures), time.monotonic() - start,
                                                   os.path.join(out, "bench.{json,svg}")))
    sys.exit(1 if failures else 0)


main()
