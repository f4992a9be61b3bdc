#!/usr/bin/env python3
"""report.py BUILD SIZES... [--docs DOCS]: tables of a benchmark run.

Prints them, or writes them between the marker comments of DOCS/performance.md and draws the plots beside it.
"""

import argparse
import re
from pathlib import Path

import plots
from results import LABELS, Results

ONE_THING = ("known_check", "event_alone", "event_transaction", "event_batch", "update_status", "page_room",
             "page_group", "history_room", "unread_room", "unread_peer", "unread_kinds", "unread_total", "set_up")
OWN_CONVERSATION = ("page_quiet", "history_quiet")
WRITES = ("event_alone", "event_transaction", "event_batch", "update_status", "clear_unread", "delete_100")
PAGES = ("page_room", "page_group", "page_quiet", "page_busiest", "history_room", "history_quiet",
         "history_busiest")
COUNTS = ("unread_room", "unread_peer", "unread_kinds", "unread_total")

GROWTH_LIMIT = {operation: 1.5 for operation in ONE_THING + OWN_CONVERSATION}
FLOOR_LIMIT = {**{operation: 1.2 for operation in WRITES + COUNTS}, **{operation: 1.6 for operation in PAGES}}
HAND_TUNED_LIMIT = {"event_alone": 1.4, "event_transaction": 1.4, "page_room": 5, "page_group": 5,
                    "page_quiet": 10, "unread_room": 3.5, "unread_peer": 3.5}
TABLES_ALONE_LIMIT = {operation: 100 for operation in ("known_check",) + PAGES + COUNTS}


def table(header, rows):
    alignment = ["---"] + ["--:"] * (len(header) - 1)
    return "\n".join("| " + " | ".join(row) + " |" for row in [header, alignment] + rows)


def times(ratio):
    return f"{ratio:.0f}x" if ratio >= 100 else f"{ratio:.1f}x" if ratio >= 10 else f"{ratio:.2f}x"


def microseconds(value):
    return f"{value:,.0f}" if value >= 100 else f"{value:.1f}"


def share(part):
    return f"{100 * part:.0f} %"


def count(number):
    return f"{number:,}"


def mebibytes(size):
    return f"{size / 2**20:,.1f}"


def verdict(is_met):
    return "met" if is_met else "**not met**"


def at_most(value, limits, operation):
    if operation not in limits:
        return "–"
    return f"{times(value)}, {verdict(value <= limits[operation])}"


def at_least(value, limits, operation):
    if operation not in limits:
        return "–"
    return f"{times(value)}, {verdict(value >= limits[operation])}"


def targets(results):
    header = ["operation", f"growth {count(results.smallest)} to {count(results.largest)} (at most 1.5x)",
              "to the floor (writes, counts 1.2x; pages 1.6x)",
              "to hand-tuned (event 1.4x, room page 5x, badge 3.5x, one-to-one page 10x)",
              "tables alone to the store (at least 100x)"]
    rows = []
    for operation, label in LABELS.items():
        row = [at_most(results.processor_growth(operation, "store"), GROWTH_LIMIT, operation),
               at_most(results.processor_ratio(operation, "store", "floor"), FLOOR_LIMIT, operation),
               at_most(results.ratio(operation, "store", "hand_tuned"), HAND_TUNED_LIMIT, operation),
               at_least(results.ratio(operation, "tables_alone", "store"), TABLES_ALONE_LIMIT, operation)]
        if row != ["–"] * 4:
            rows.append([label] + row)
    busiest = results.time("page_busiest", "store")
    memory = results.memory_growth_mib()
    packed = results.index_share(results.largest)
    grown = results.index_share(results.largest, "grown")
    others = [
        ["newest page of the busiest one-to-one conversation below 2 ms",
         f"{microseconds(busiest)} us", verdict(busiest < 2000)],
        ["resident memory grows by at most 8 MiB", f"{memory:.1f} MiB", verdict(memory <= 8)],
        ["indexes add at most 50 % to the file, made on a filled file", f"{100 * packed:.1f} %",
         verdict(packed <= 0.5)],
        ["the same, in place from the first message on", f"{100 * grown:.1f} %", verdict(grown <= 0.5)],
    ]
    return (f"Ratios at {count(results.largest)} messages; growth and the distance to the floor in processor "
            "time, the others by the clock where an operation waits for the medium.\n\n" + table(header, rows) + "\n\n" +
            table(["target", "measured", ""], others))


def ratios(results):
    header = ["operation", "store, us", "spread", "to the floor", "to hand-tuned", "tables alone to the store",
              "parsing"]
    rows = [[label, microseconds(results.time(operation, "store")), share(results.spread(operation, "store")),
             times(results.ratio(operation, "store", "floor")),
             times(results.ratio(operation, "store", "hand_tuned")),
             times(results.ratio(operation, "tables_alone", "store")),
             share(results.ratio(operation, "parsing", "store"))] for operation, label in LABELS.items()]
    one_commit = results.time("event_alone", "store") / results.time("event_transaction", "hand_tuned")
    return (f"At {count(results.largest)} messages.\n\n" + table(header, rows) +
            "\n\nThe two calls of an incoming message, each with a commit of its own, take "
            f"{times(one_commit)} the time of hand-tuned's one transaction.")


def writes(results):
    header = ["operation", "store, us", "floor, us", "hand-tuned, us", "to the floor", "to hand-tuned",
              "growth", "parsing"]
    rows = []
    for operation in WRITES + ("set_up",):
        store, floor, hand_tuned = (results.processor_time(operation, competitor)
                                    for competitor in ("store", "floor", "hand_tuned"))
        rows.append([LABELS[operation], microseconds(store), microseconds(floor), microseconds(hand_tuned),
                     times(store / floor), times(store / hand_tuned),
                     times(results.processor_growth(operation, "store")),
                     share(results.processor_time(operation, "parsing") / store)])
    return (f"Processor time of what the table above times by the clock, at {count(results.largest)} "
            "messages.\n\n" + table(header, rows))


def growth(results):
    header = ["operation"] + [f"{count(size)}, us" for size in results.sizes] + \
             ["store", "floor", "hand-tuned", "tables alone"]
    rows = [[label] + [microseconds(results.time(operation, "store", size)) for size in results.sizes] +
            [times(results.growth(operation, competitor))
             for competitor in ("store", "floor", "hand_tuned", "tables_alone")]
            for operation, label in LABELS.items()]
    return (f"The store's time at each number of messages, and the growth from {count(results.smallest)} to "
            f"{count(results.largest)} of each competitor.\n\n" + table(header, rows))


def memory(results):
    header = ["messages", "at start, MiB", "after the operations, MiB", "highest, MiB"]
    rows = [[count(size)] + [f"{results.memory[size][key] / 1024:.1f}"
                             for key in ("before_kib", "after_kib", "peak_kib")] for size in results.sizes]
    return table(header, rows)


def files(results):
    header = ["messages", "tables alone, MiB", "with indexes, MiB", "indexes add", "indexes' share of the file",
              "grown with indexes, MiB", "indexes add", "hand-tuned, MiB", "first start of a filled file, s"]
    rows = []
    for size in results.sizes:
        sizes = results.files[size]
        rows.append([count(size), mebibytes(sizes["tables"]), mebibytes(sizes["store"]),
                     f"{100 * results.index_share(size):.1f} %",
                     f"{100 * (1 - sizes['tables'] / sizes['store']):.1f} %",
                     mebibytes(sizes["grown"]), f"{100 * results.index_share(size, 'grown'):.1f} %",
                     mebibytes(sizes["hand_tuned"]), f"{sizes['first_start_seconds']:.1f}"])
    largest = results.files[results.largest]
    indexes = [[f"`{name}`", mebibytes(size), f"{100 * size / largest['tables']:.1f} %"]
               for name, size in sorted(largest["indexes"].items(), key=lambda entry: -entry[1])]
    return (table(header, rows) + f"\n\nEach index at {count(results.largest)} messages:\n\n" +
            table(["index", "MiB", "adds to the tables"], indexes))


def tried(results):
    header = ["indexes", "busiest one-to-one, us", "quiet one-to-one, us", "room, us", "MiB more than now"]
    rows = [[entry["name"]] + [microseconds(entry[key]) for key in ("busiest_us", "quiet_us", "room_us")] +
            [mebibytes(entry["added_bytes"])] for entry in results.tried["sets"]]
    return (f"Newest page at {count(results.tried['rows'])} messages, the bare statement, median of seven "
            "runs.\n\n" + table(header, rows))


SECTIONS = {"targets": targets, "ratios": ratios, "writes": writes, "growth": growth, "memory": memory, "files": files,
            "tried": tried}


def write(document, results):
    text = document.read_text()
    for name, section in SECTIONS.items():
        begin, end = f"<!-- begin generated: {name} -->", f"<!-- end generated: {name} -->"
        pattern = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.DOTALL)
        if len(pattern.findall(text)) != 1:
            raise SystemExit(f"{document}: the markers of {name} are missing")
        content = f"{begin}\n\n{section(results)}\n\n{end}"
        text = pattern.sub(lambda _, content=content: content, text)
    document.write_text(text)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("sizes", type=int, nargs="+")
    parser.add_argument("--docs", type=Path)
    arguments = parser.parse_args()
    results = Results(arguments.build, arguments.sizes)
    if arguments.docs:
        write(arguments.docs / "performance.md", results)
        plots.draw(results, Path(arguments.build) / "plots", arguments.docs)
    else:
        print("\n\n".join(section(results) for section in SECTIONS.values()))


if __name__ == "__main__":
    main()
