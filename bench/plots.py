"""Latency against the number of messages, one SVG for each family of operations, drawn with gnuplot."""

import subprocess

from results import COMPETITORS, LABELS

FAMILIES = {
    "incoming": ("known_check", "event_alone", "event_transaction", "event_batch"),
    "pages": ("page_room", "page_group", "page_quiet", "page_busiest"),
    "history": ("history_room", "history_quiet", "history_busiest"),
    "unread": ("unread_room", "unread_peer", "unread_kinds", "unread_total"),
    "changes": ("update_status", "clear_unread", "delete_100"),
    "lists": ("session_list", "group_list", "friend_list"),
    "setup": ("set_up",),
}

# Colours that stay apart for colour-blind readers; each line has its own point as well.
STYLES = {
    "store": ("store", "#0072b2", 7, 3),
    "floor": ("floor", "#e69f00", 5, 1.5),
    "hand_tuned": ("hand-tuned", "#009e73", 9, 1.5),
    "tables_alone": ("tables alone", "#d55e00", 11, 1.5),
}
PANEL_WIDTH, PANEL_HEIGHT = 430, 330


def panel(operation, data_file):
    lines = []
    for column, competitor in enumerate(COMPETITORS, start=2):
        title, colour, point, width = STYLES[competitor]
        lines.append(f"'{data_file}' using 1:{column} with linespoints linewidth {width} linecolor '{colour}' "
                     f"pointtype {point} pointsize 0.8 title '{title}'")
    return f"set title '{LABELS[operation]}'\nplot " + ", \\\n     ".join(lines) + "\n"


def script(operations, data_files, svg, sizes):
    columns = min(2, len(operations))
    rows = -(-len(operations) // columns)
    return f"""set terminal svg size {columns * PANEL_WIDTH},{rows * PANEL_HEIGHT} dynamic \
font 'sans-serif,13' background 'white'
set output '{svg}'
set logscale xy
set xrange [{sizes[0] * 0.7}:{sizes[-1] * 1.4}]
set xtics ({", ".join(f"'{size:,}' {size}" for size in sizes)})
set format y '%.0s %cs'
set xlabel 'messages in the file'
set ylabel 'time per call (seconds)'
set offsets graph 0, graph 0, graph 0.1, graph 0.1
set grid ytics linetype 1 linewidth 1 linecolor rgb '#cccccc'
set bmargin 6
set key at graph 0.5, graph -0.27 center top horizontal maxrows 1 samplen 2 width -2
set multiplot layout {rows},{columns}
""" + "".join(panel(operation, data_files[operation]) for operation in operations) + "unset multiplot\n"


def draw(results, work, docs):
    work.mkdir(parents=True, exist_ok=True)
    for family, operations in FAMILIES.items():
        data_files = {}
        for operation in operations:
            data_files[operation] = work / f"{operation}.dat"
            data_files[operation].write_text("".join(
                " ".join([str(size)] + [f"{results.time(operation, competitor, size) / 1e6:.3e}"
                                        for competitor in COMPETITORS]) + "\n" for size in results.sizes))
        plot = work / f"{family}.gnuplot"
        plot.write_text(script(operations, data_files, docs / f"performance-{family}.svg", results.sizes))
        subprocess.run(["gnuplot", str(plot)], check=True)
