"""docs/performance.md: what bench/run measured, in tables and pictures."""

import datetime

import chart

INSTRUCTIONS = ("by instructions the ratio is the last table's. What time takes beyond that is fetching code: what "
                "net-snmp runs through for one varbind is twice the size of the first cache, so that each line of 64 "
                "bytes more is fetched anew, and displaces another. By callgrind, once, the floor ran through 12 lines "
                "of its own, the module through some 50.")
SENTENCE = {True: "met", False: "**missed**"}


def table(heads, rows):
    lines = ["| " + " | ".join(heads) + " |", "|" + "|".join("---" if i == 0 else "--:" for i in range(len(heads))) + "|"]
    lines += ["| " + " | ".join(str(cell) for cell in row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def number(value, digits=0):
    return f"{value:,.{digits}f}"


def ratio(line, digits=2):
    return f"{line['ratio']:.{digits}f} ({line['low']:.{digits}f} to {line['high']:.{digits}f})"


def judged(line, limit, digits=2, at_least=False):
    """The ratio, whether it meets the limit, and in words."""
    met = line["ratio"] >= limit if at_least else line["ratio"] <= limit
    noise = ", within the noise" if line["low"] <= limit <= line["high"] else ""
    return ratio(line, digits), met, SENTENCE[met] + noise


def plain(value, limit):
    return number(value), value <= limit, SENTENCE[value <= limit]


def targets(results):
    """What was aimed at, what came out, whether that meets it, and in words."""
    walk, if_table, script = (results["walks"][kind] for kind in ("walk", "beside ifTable", "script"))
    scale, start = results["scale"]["ptpsnmp"], results["start"]
    largest = scale["ptpsnmp 65535"]
    agentx = results["hosts"]["AgentX ratio"]["ptpsnmp over AgentX"]
    memory = max(results["memory"].values())
    return [
        ("bulk walk, beside the floor", "at most 1.05", *judged(walk["ptpsnmp"], 1.05, 3)),
        ("bulk walk, beside ifTable", "at most 1", *judged(if_table, 1)),
        ("bulk walk, pass_persist beside it", "at least 10", *judged(script, 10, 1, at_least=True)),
        ("GET of one cell, beside the floor", "at most 1.02", *judged(results["walks"]["GET"]["ptpsnmp"], 1.02, 3)),
        ("65,535 ports beside 1,000, per varbind", "at most 1.10", *judged(largest, 1.10)),
        ("over AgentX, beside the floor over AgentX", "at most 1.05", *judged(agentx, 1.05, 3)),
        ("memory per port, bytes", "at most 600", *plain(memory, 600)),
        ("first answer with 1,000 ports, ms", "at most 100", *plain(start[1000]["ms"], 100))]


IN_THE_WAY = {
    "bulk walk, beside the floor": INSTRUCTIONS,
    "GET of one cell, beside the floor": INSTRUCTIONS,
    "over AgentX, beside the floor over AgentX": "callgrind counted 1.03 times the floor's instructions for the "
    "sub-agent; a varbind is two turns of two processes, and most of it is the kernel's.",
    "bulk walk, beside ifTable": "ifTable is served by net-snmp's table container, which looks a row up. The table "
    "iterator clones lists of variables at every step: under callgrind ifTable took 0.78 of the floor's instructions. "
    "What the floor, the bare iterator, takes beside ifTable is in the table below.",
    "65,535 ports beside 1,000, per varbind": "a search among 65,535 rows passes six more levels of the tree, which lie in "
    "no near cache; what the floor's search in an array takes is in the table below.",
    "bulk walk, pass_persist beside it": "the script takes no time for anything but to look its answer up, and the "
    "floor beside it is not ten times as fast, either.",
}


def in_the_way(results):
    missed = [what for what, _, _, met, _ in targets(results) if not met]
    if not missed:
        return ""
    lines = [f"- {what}: {IN_THE_WAY.get(what, 'not known.')}\n" for what in missed]
    return "What stands in the way:\n\n" + "".join(lines) + "\n"


def walks(results):
    names = list(results["walks"]["walk"])
    rows = [[name, *(cell for kind in ("walk", "GETNEXT", "GET")
                     for cell in (number(results["walks"][kind][name]["ns"]), ratio(results["walks"][kind][name])))]
            for name in names]
    return table(["1,000 rows", "walk: ns per varbind", "beside the floor", "GETNEXT: ns", "beside the floor", "GET: ns",
                  "beside the floor"], rows)


def scale(results):
    ours, floor = results["scale"]["ptpsnmp"], results["scale"]["floor"]
    rows = []
    for name, line in ours.items():
        ports = name.split()[-1]
        other = floor[f"floor {ports}"]
        rows.append([number(int(ports)), number(line["ns"]), ratio(line), number(other["ns"]), ratio(other)])
    return table(["ports", "ptpsnmp: ns per varbind", "beside 1,000", "floor: ns", "beside 1,000"], rows)


def hosts(results):
    lines = {name: line for name, line in results["hosts"].items() if name != "AgentX ratio"}
    return table(["host", "ns per varbind", "beside the floor in snmpd"],
                 [[name, number(line["ns"]), ratio(line)] for name, line in lines.items()])


def following(results):
    rows = []
    for ours, other, name in (("portEvent", "mapPortEvent", "a port goes and comes back"),
                              ("rebuild", "mapRebuild", "all rows go and come back")):
        for ports in (1, 1000, 65535):
            mine, map_ns = (results["following"][f"{key}/{ports}"] for key in (ours, other))
            rows.append([name, number(ports), number(mine / 1000, 2), number(map_ns / 1000, 2), number(mine / map_ns, 2)])
    return table(["event", "ports", "µs", "the same keys in a std::map, µs", "ratio"], rows)


def start(results):
    return table(["ports", "first answer, ms", "best", "worst", "resident memory, MiB"],
                 [[number(int(ports)), number(line["ms"], 1), number(line["best ms"], 1), number(line["worst ms"], 1),
                   number(line["KiB"] / 1024, 1)] for ports, line in results["start"].items()])


def other(results, name):
    measured = results[name]
    if measured is None:
        return "Not measured here.\n"
    rows = measured["rows"]
    return table(list(rows[0]), [list(row.values()) for row in rows]) + f"\nTarget: {measured['target']}: " \
        f"{SENTENCE[measured['met']]}.\n"


def instructions(results):
    if results["instructions"] is None:
        return "Not measured here.\n"
    lines = []
    for what, counts in results["instructions"].items():
        line = [what, number(counts["in all"])]
        if floor := counts.get("on the floor"):
            line += [number(counts["in its own code"]), number(floor), number(counts["in all"] / floor, 3)]
        lines.append(line + [""] * (5 - len(line)))
    return table(["", "instructions", "of them its own", "the same on the floor", "beside the floor"], lines)


def pictures(folder, results):
    folder.mkdir(exist_ok=True)
    walk = results["walks"]["walk"]
    files = {"walks": chart.bars("CPU per varbind of a walk of 1,000 rows, µs",
                                 {name: line["ns"] / 1000 for name, line in walk.items()})}
    ours, floor = results["scale"]["ptpsnmp"], results["scale"]["floor"]
    files["scale"] = chart.lines("CPU per varbind of a walk, µs, by number of ports",
                                 [number(int(name.split()[-1])) for name in ours],
                                 {"ptpsnmp": [line["ns"] / 1000 for line in ours.values()],
                                  "floor": [line["ns"] / 1000 for line in floor.values()]})
    files["hosts"] = chart.bars("CPU per varbind of a walk of 1,000 rows, by host, µs",
                                {name: line["ns"] / 1000 for name, line in results["hosts"].items()
                                 if name != "AgentX ratio"})
    for name, picture in files.items():
        (folder / f"{name}.svg").write_text(picture, encoding="utf-8")


def write(path, results):
    pictures(path.parent / "performance", results)
    here = results["machine"]
    path.write_text(f"""# Performance

Measured by `bench/run` on {datetime.date.today()}, in {results['seconds']} s: {here['cpu']}, {here['cores']} cores, load \
{here['load']}, Linux {here['kernel']}. Written by it, too: run it and compare.

Compare ratios, not times. Contenders take turns every {results['ports']:,} varbinds, so that what else the machine does \
falls on all of them. Where their memory comes to lie makes the one or the other some percent faster for as long as they \
run; so for the walks and the hosts the floor stands in three copies, *floor* being their mean and *one floor* the first \
of them, and all are started {results['starts']['walks']} times for the walks, {results['starts']['hosts']} times for the hosts and \
{results['starts']['scale']} times for the scale, a round each. A figure is the median of the rounds; in brackets \
stands the middle half of them. CPU time is the scheduler's count for the agent's processes, to the nanosecond; the client \
is not in it.

## Targets

{table(['', 'target', 'measured', ''], [[what, aim, value, words] for what, aim, value, _, words in targets(results)])}
{in_the_way(results)}## Walks, side by side

All inside one stock snmpd: GETBULK with 50 repetitions over ptpbaseClockPortTable, ...PortDSTable and \
...PortRunningTable at 1,000 ports, the same beside it:

- *floor*: a bare sorted table iterator over an array, with as many rows and columns, all integers, and the same index. \
It allocates, counts and traces nothing: net-snmp's own price of such a table (`bench/floor`).
- *ifTable*: net-snmp's own, with the interfaces of a namespace.
- *pass_persist*: a Python script with the floor's rows, its time included. It runs where the system puts it, mostly on \
another processor; on snmpd's own the two cost seven times the floor.

![](performance/walks.svg)

{walks(results)}
## Scale

Below 1,000 ports whole tables are walked again and again, above it 1,000 rows of one column after another, at other \
rows each time. With few ports a packet has fewer than 50 varbinds to share its price.

![](performance/scale.svg)

{scale(results)}
## Hosts

![](performance/hosts.svg)

{hosts(results)}
Over AgentX, snmpd asks its sub-agent for one row after another, and both processes count; they share a processor \
here, apart it costs twice as much. So: inside snmpd \
(`dlmod`) where a snmpd runs anyway and is asked often; alone where nothing else is to be shown; over AgentX where the \
two must stay apart, in packaging or in failure, and walks are few.

## Following the clock

Beside what a `std::map` takes to erase and insert the same keys (`agent_bench`):

{following(results)}
Heap per port, all told - data sets, counters, rows, maps, interface index - without the source that reads it: \
{', '.join(f"{number(value)} bytes with {number(int(ports))} ports" for ports, value in results['memory'].items())}. \
Allocated, room to grow included.

## Start

From the start of `ptpsnmpd` with a replay to its first answer with the last port's name. The memory is the process's, \
with the replay's own document.

{start(results)}
## Latency

From the change of a port's state in ptp4l to the first GET that shows it:

{other(results, 'latency')}
## Idle

{other(results, 'idle')}
## Instructions

By callgrind, with 1,000 ports: they hardly depend on the machine. `bench/instructions.json` has them on record, and the \
test `Bench.Instructions` fails where 5 % more are taken. *Its own* are those in the module and the platform; the rest \
is net-snmp's and the C library's.

{instructions(results)}""", encoding="utf-8")
