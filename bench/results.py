"""What the benchmark's programs left behind in the build folder, read back."""

import json
import statistics
from pathlib import Path

COMPETITORS = ("store", "floor", "hand_tuned", "tables_alone")

# Operation of the benchmark -> what it is, in words.
LABELS = {
    "known_check": "check whether a service id is stored",
    "event_alone": "incoming message, two calls",
    "event_transaction": "incoming message in a transaction",
    "event_batch": "incoming message, 1,000 in a transaction",
    "update_status": "updateMessageStatus",
    "page_room": "newest page, room",
    "page_group": "newest page, group",
    "page_quiet": "newest page, one-to-one, 100 messages",
    "page_busiest": "newest page, busiest one-to-one",
    "history_room": "page before an anchor, room",
    "history_quiet": "page before an anchor, one-to-one, 100 messages",
    "history_busiest": "page before an anchor, busiest one-to-one",
    "unread_room": "unread messages of a room",
    "unread_peer": "unread messages of the busiest one-to-one",
    "unread_kinds": "unread messages by kinds",
    "unread_total": "all unread messages",
    "clear_unread": "clearUnreadStatus, 25 messages",
    "session_list": "loadSessionList, 2,000 sessions",
    "group_list": "getGroupList, 500 groups",
    "friend_list": "getFriendList, 5,000 friends",
    "delete_100": "deleteMessages of 100",
    "set_up": "setUp of a filled file",
}


class Results:
    def __init__(self, build, sizes):
        build = Path(build)
        self.sizes = sizes
        self.smallest, self.largest = sizes[0], sizes[-1]
        self._times = {}
        self._processor = {}
        for run in json.loads((build / "bench.json").read_text())["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            if run.get("error_occurred"):
                raise SystemExit(f"{run['name']}: {run['error_message']}")
            operation, competitor, rows = run["run_name"].split("/")[:3]
            # What waits for the medium is timed by the clock, in seconds; the others in processor time.
            assert run["time_unit"] == "ns"
            time = run["median"] * 1e6 if "median" in run else run["cpu_time"] / 1000
            self._times.setdefault((operation, competitor, int(rows)), []).append(time)
            if "processor" in run:
                processor = self._processor.setdefault((operation, competitor, int(rows)), [])
                processor.append(run["processor"] * 1e6)
        self.memory = {size: json.loads((build / f"memory_{size}.json").read_text()) for size in sizes}
        self.files = {size: json.loads((build / f"data/{size}/sizes.json").read_text()) for size in sizes}
        self.tried = json.loads((build / "tried.json").read_text())

    def time(self, operation, competitor, rows=None):
        """The median of the repetitions, in microseconds."""
        return statistics.median(self._times[operation, competitor, rows or self.largest])

    def processor_time(self, operation, competitor, rows=None):
        """The same without what the operation waits for."""
        key = (operation, competitor, rows or self.largest)
        return statistics.median(self._processor.get(key, self._times[key]))

    def spread(self, operation, competitor):
        """The distance between the fastest and the slowest repetition, as a share of the median."""
        times = self._times[operation, competitor, self.largest]
        return (max(times) - min(times)) / self.time(operation, competitor)

    def ratio(self, operation, competitor, base):
        return self.time(operation, competitor) / self.time(operation, base)

    def growth(self, operation, competitor):
        return self.time(operation, competitor) / self.time(operation, competitor, self.smallest)

    def processor_ratio(self, operation, competitor, base):
        return self.processor_time(operation, competitor) / self.processor_time(operation, base)

    def processor_growth(self, operation, competitor):
        return (self.processor_time(operation, competitor) /
                self.processor_time(operation, competitor, self.smallest))

    def memory_growth_mib(self):
        return (self.memory[self.largest]["after_kib"] - self.memory[self.smallest]["after_kib"]) / 1024

    def index_share(self, size, variant="store"):
        """What the indexes add to the tables' own size."""
        files = self.files[size]
        return files[variant] / files["tables"] - 1
