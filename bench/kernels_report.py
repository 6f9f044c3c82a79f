#!/usr/bin/python3
"""Runs kernels_bench and, on arrays of the same size and kind, NumPy and numexpr on one thread;
prints the medians as Markdown tables.

    bench/kernels_report.py build/release/bench/kernels_bench [repetitions] [--quick]

Fails if a kernel differs from the plain rule. With --quick the numbers say little: each is of one
call, and arrays that do not fit in the cache are left out. Needs python3-numpy and python3-numexpr.
"""

import argparse
import collections
import json
import os
import subprocess
import tempfile
import time

import numexpr
import numpy

ELEMENTS = 1 << 16


def run_benchmark(program, repetitions, quick):
    """Median nanoseconds an element by (kernel, data, elements) and loop."""
    with tempfile.TemporaryDirectory() as folder:
        results = os.path.join(folder, "results.json")
        subprocess.run(
            [
                program,
                "--benchmark_out=" + results,
                "--benchmark_out_format=json",
                f"--benchmark_min_time={0 if quick else 0.02}",
                f"--benchmark_filter={f'/{ELEMENTS}$' if quick else '.'}",
                f"--benchmark_repetitions={repetitions}",
                "--benchmark_enable_random_interleaving=true",
                "--benchmark_report_aggregates_only=true",
            ],
            check=True,
            stdout=subprocess.DEVNULL,
        )
        with open(results, encoding="utf-8") as stream:
            benchmarks = json.load(stream)["benchmarks"]
    table = collections.defaultdict(dict)
    for benchmark in benchmarks:
        if benchmark.get("aggregate_name", "median") != "median":  # none of one repetition
            continue
        kernel, loop, data, elements = benchmark["run_name"].split("/")
        table[kernel, data, int(elements)][loop] = benchmark["real_time"] / int(elements)
    return table


COLUMNS = (
    ("positive", ELEMENTS),
    ("zero_mean", ELEMENTS),
    ("integers", ELEMENTS),
    ("positive", 1 << 24),
)


def print_kernels(table):
    """One row a kernel: the plain rule, the product on each kind of data and how many times as fast
    as the plain rule on the same, the arithmetic without statistics."""
    columns = [column for column in COLUMNS if column in {key[1:] for key in table}]
    print("| kernel | plain rule | " + " | ".join(f"{d.replace('_', ' ')}, {n:,}" for d, n in columns), end="")
    print(" | no statistics |\n|---" + "|---:" * (len(columns) + 2) + "|")
    for kernel in sorted({key[0] for key in table}, reverse=True):
        cells = []
        for column in columns:
            loops = table[(kernel, *column)]
            cells.append(f"{loops['product']:.2f} ({loops['plain'] / loops['product']:.1f} x)")
        first = table[(kernel, *COLUMNS[0])]
        print(f"| {kernel.replace('_', ' ', 1)} | {first['plain']:.2f} | {' | '.join(cells)} | {first['bare']:.2f} |")


def median_time(function, repetitions=201):
    """Median nanoseconds an element of a call on ELEMENTS elements."""
    times = []
    for _ in range(repetitions):
        start = time.perf_counter()
        function()
        times.append(time.perf_counter() - start)
    return sorted(times)[len(times) // 2] / ELEMENTS * 1e9


def print_array_tools(title, rows):
    print(f"| {title} on {ELEMENTS} elements | ns an element |")
    print("|---|---:|")
    for name, value in rows:
        print(f"| {name} | {value:.2f} |")
    print()


def compare_sum(table):
    """A*F1 + B*F2 on real data with the tools that a user has at hand."""
    random = numpy.random.default_rng(1)
    f1 = (0.5 + random.random(ELEMENTS)).astype(numpy.float32)
    f2 = (0.5 + random.random(ELEMENTS)).astype(numpy.float32)
    a, b = numpy.float32(1.1), numpy.float32(0.7)
    out = numpy.empty_like(f1)
    numexpr.set_num_threads(1)

    def with_numpy():
        numpy.add(a * f1, b * f2, out=out)

    def with_numpy_and_statistics():
        with_numpy()
        return out.min(), out.max(), out.sum(dtype=numpy.float64)

    def with_numexpr():
        numexpr.evaluate("a*f1 + b*f2", local_dict={"a": a, "b": b, "f1": f1, "f2": f2}, out=out)

    print_array_tools("A*F1 + B*F2, real, positive,", [
        ("product, with minimum, maximum and sum", table["Real_AF1_Plus_BF2", "positive", ELEMENTS]["product"]),
        ("NumPy, single precision, with minimum, maximum and sum", median_time(with_numpy_and_statistics)),
        ("NumPy, single precision, no statistics", median_time(with_numpy)),
        ("numexpr, single precision, one thread, no statistics", median_time(with_numexpr)),
    ])


def compare_phase(table):
    """The phase of complex data that are uniform in [-1, 1) in both parts."""
    random = numpy.random.default_rng(1)
    f1 = (2 * random.random(2 * ELEMENTS) - 1).astype(numpy.float32).view(numpy.complex64)
    loops = table["Complex_A_Phase_F1", "zero_mean", ELEMENTS]
    print_array_tools("A * phase(F1), complex, zero mean,", [
        ("product, with minimum, maximum and sum", loops["product"]),
        ("plain rule, the library's arc tangent, with minimum, maximum and sum", loops["plain"]),
        ("NumPy's angle, single precision, no statistics", median_time(lambda: numpy.angle(f1))),
    ])


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("repetitions", nargs="?", type=int)
    parser.add_argument("--quick", action="store_true")
    options = parser.parse_args()
    repetitions = options.repetitions or (1 if options.quick else 5)
    table = run_benchmark(options.program, repetitions, options.quick)
    print("Nanoseconds an element, medians.\n")
    compare_sum(table)
    compare_phase(table)
    print_kernels(table)


if __name__ == "__main__":
    main()
