"""The targets of the library, and whether a run meets them."""

import operator

HOLDS = {"<=": operator.le, "<": operator.lt, ">=": operator.ge, "==": operator.eq}
SIZES = ("16 to 64 B", "1000 to 1000 B", "65536 to 65536 B")
QUEUE_PEERS = ("GAsyncQueue", "moodycamel", "Boost lock-free")


class Target:
    """A target: its text, the figure, and whether it is met; None if something was not measured."""

    def __init__(self, what, target, figure, met, load):
        self.what, self.target, self.figure, self.met, self.load = what, target, figure, met, load

    def verdict(self):
        return {True: "met", False: "NOT MET", None: "not measured"}[self.met]


def amount(value, unit, digits=2):
    return "not measured" if value is None else f"{value:,.{digits}f} {unit}".rstrip()


def times(value):
    return amount(value, "×", 3)  # tells 1.05 from 1.051


def judge(what, target, parts, words):
    """parts: tuples (value, limit, figure); a limit is such as ("<=", x), with a key of HOLDS. All must hold."""
    met = None if any(value is None for value, _, _ in parts) else all(
        HOLDS[limit[0]](value, limit[1]) for value, limit, _ in parts)
    loads = [figure.other_load for _, _, figure in parts if figure and figure.other_load is not None]
    return Target(what, target, words, met, max(loads) if loads else None)


def versus_floor(figures, measure, case, metric, placement="one core", peer="quorapps"):
    own = figures.find(measure, case, placement, peer)
    base = figures.find(measure, case, placement, "floor")
    return (own.ratio(metric, base) if own and base else None), own


def round_trip(figures):
    for case in SIZES[:2]:
        median, own = versus_floor(figures, "round trip", case, "median_us")
        p99, _ = versus_floor(figures, "round trip", case, "p99_us")
        yield judge(f"synchronous round trip, {case}",
                    "median at most 1.05 × the floor's, 99th percentile at most 1.2 ×",
                    [(median, ("<=", 1.05), own), (p99, ("<=", 1.2), own)],
                    f"median {times(median)}, 99th percentile {times(p99)}")


def system_calls(figures):
    """The mean may be slightly above six: sometimes a server wakes before its client has written, and polls again."""
    parts, words = [], []
    for case in SIZES:
        own = figures.find("system calls", case, "one core", "quorapps")
        client, server = (own.median("client_calls"), own.median("server_calls")) if own else (None, None)
        parts += [(client, ("<=", 6.05), own), (server, ("<=", 6.05), own)]
        words.append(f"{case}: client {amount(client, '')}, server {amount(server, '')}")
    yield judge("system calls a round trip", "client at most 6, server at most 6", parts, "; ".join(words))


def body_sizes(figures):
    """The smallest ratio of all sizes, each of which must have been measured."""
    sizes = [figure.case for figure in figures.of("body size")
             if figure.peer == "floor" and figure.placement == "one core"]
    ratios = [(SIZES[2], *versus_floor(figures, "round trip", SIZES[2], "rate"))]
    ratios += [(f"{size} B", *versus_floor(figures, "body size", size, "rate")) for size in sizes]
    at_64k = ratios[0][1]
    complete = len(sizes) > 0 and all(ratio is not None for _, ratio, _ in ratios)
    where, least, own = min(ratios, key=lambda each: each[1]) if complete else ("", None, None)
    yield judge("65,536 B and the body-size curve", "at least 0.9 × the floor's throughput at every size",
                [(least, (">=", 0.9), own)],
                f"{times(at_64k)} from 65,536 to 65,536 B; least {amount(least, f'× at {where}')}")


def one_way(figures):
    case = next((figure.case for figure in figures.of("one way")), "")
    rate, own = versus_floor(figures, "one way", case, "rate")
    lost, refused = (own.worst("lost"), own.worst("failed")) if own else (None, None)
    yield judge("asynchronous one-way", "at least 1.0 × the floor, nothing lost in a burst of 100,000",
                [(rate, (">=", 1.0), own), (lost, ("==", 0), own), (refused, ("==", 0), own)],
                f"{times(rate)}, lost {amount(lost, '', 0)}, not sent {amount(refused, '', 0)}")


def fan_out(figures):
    """A refused publication counts as lost, since its sender is not informed."""
    rate, own = versus_floor(figures, "fan-out", "16 subscribers", "rate")
    lost = own.worst("lost") if own else None
    yield judge("fan-out to 16", "at least 1.3 × the plain floor, nothing lost",
                [(rate, (">=", 1.3), own), (lost, ("==", 0), own)], f"{times(rate)}, lost {amount(lost, '', 0)}")


def clients(figures):
    rate, own = versus_floor(figures, "clients", "52", "rate")
    p99, _ = versus_floor(figures, "clients", "52", "p99_us")
    yield judge("52 clients", "at least 0.95 × the floor's throughput, worst 99th percentile no worse",
                [(rate, (">=", 0.95), own), (p99, ("<=", 1.0), own)],
                f"throughput {times(rate)}, worst 99th percentile {times(p99)}")


def database(figures):
    median, own = versus_floor(figures, "configuration", "16 to 64 B", "median_us", peer="zndb get")
    redis = figures.find("configuration", "16 to 64 B", "one core", "Redis, connection a message")
    versus = own.ratio("median_us", redis) if own and redis else None
    yield judge("configuration get", "at most 1.15 × the floor's round trip; faster than Redis with a connection "
                "a message", [(median, ("<=", 1.15), own), (versus, ("<", 1.0), own)],
                f"{times(median)}; {amount(versus, '× Redis with a connection a message')}")
    one = figures.find("configuration", "16 to 64 B", "one core", "zndb set")
    batch = figures.find("configuration", "16 to 64 B", "one core", "zndb batch of 32 sets")
    ratio = batch.ratio("median_us", one) if batch and one else None
    yield judge("batch of 32 sets", "at most 2 × one set", [(ratio, ("<=", 2.0), batch)], times(ratio))


SETTINGS = "1,000 settings"


def reads(figures):
    own = figures.find("settings read", SETTINGS, "one core", "zndb_view_get")
    value = own.median("ns") if own else None
    floor = figures.find("round trip", "16 to 64 B", "one core", "floor")
    share = value / (1000 * floor.median("median_us")) if own and floor else None
    parts, words = [(value, ("<=", 150), own), (share, ("<=", 0.01), own)], []
    for peer in ("LMDB, a transaction each", "LMDB, one transaction", "Redis, connection kept"):
        other = figures.find("settings read", SETTINGS, "one core", peer)
        ratio = own.ratio("ns", other) if own and other else None
        parts.append((ratio, ("<", 1.0), own))
        words.append(f"{amount(ratio, '×', 3)} {peer}")
    yield judge("a setting from the view", "at most 150 ns and 0.01 × the floor's round trip; ahead of LMDB and of Redis "
                "kept connected", parts, f"{amount(value, 'ns', 1)}, {amount(share, '×', 4)} the floor; " + "; ".join(words))


def watches(figures):
    own = figures.find("settings watch", SETTINGS, "one core", "zndb_watch")
    bare = figures.find("settings watch", SETTINGS, "one core", "bare futex")
    ratio = own.ratio("median_us", bare) if own and bare else None
    yield judge("a change told", "within 3 × the wake-up of a bare futex", [(ratio, ("<=", 3.0), own)], times(ratio))


def best_queue_peer(figures, case):
    """The fastest peer, if all were measured."""
    found = [figures.find("queue rate", case, "one core", peer) for peer in QUEUE_PEERS]
    return None if None in found else max(found, key=lambda peer: peer.median("rate"))


def queues(figures):
    parts, words = [], []
    for senders in ("one sender", "four senders"):
        own = figures.find("queue rate", senders, "one core", "quorapps")
        best = best_queue_peer(figures, senders)
        ratio = own.ratio("rate", best) if own and best else None
        parts.append((ratio, (">=", 0.9), own))
        words.append(f"{senders}: {amount(ratio, f'× {best.peer}' if best else '')}")
    own = figures.find("queue wake", "asleep", "one core", "quorapps")
    bare = figures.find("queue wake", "asleep", "one core", "mutex and semaphore")
    wake = own.ratio("median_us", bare) if own and bare else None
    parts.append((wake, ("<=", 1.0), own))
    yield judge("in-process queue", "at least 0.9 × the best of the peers with one and with four senders; wake-up "
                "no slower than a bare mutex and semaphore", parts, "; ".join(words) + f"; wake-up {times(wake)}")


def conversions(figures):
    own = figures.find("in process", "from text/int", "one core", "quorapps")
    value = own.median("ns") if own else None
    blocks = own.worst("allocations") if own else None
    yield judge("integer from text", "at most 15 ns, no allocation",
                [(value, ("<=", 15), own), (blocks, ("<=", 0), own)],
                f"{amount(value, 'ns', 1)}, allocations {amount(blocks, '', 0)}")


def start_up(figures):
    own = figures.find("start-up", "exec to answer", "one core", "quorapps")
    answered = own.median("answered_us") / 1000 if own else None
    served = own.median("served_us") / 1000 if own else None
    yield judge("start-up to first answer", "under 3 ms, of which the library under 1 ms",
                [(answered, ("<", 3), own), (served, ("<", 1), own)],
                f"{amount(answered, 'ms')}, the library {amount(served, 'ms')}")


def memory(figures):
    one = figures.find("memory", "1 module", "free", "quorapps")
    all_of_them = figures.find("memory", "52 modules", "free", "quorapps")
    dirty = one.median("private_dirty_kib") if one else None
    pss = all_of_them.median("pss_kib") / 1024 if all_of_them else None
    yield judge("idle module", "private dirty memory under 350 KiB on x86-64; 52 idle modules under 30 MiB PSS "
                "together", [(dirty, ("<", 350), one), (pss, ("<", 30), all_of_them)],
                f"{amount(dirty, 'KiB', 0)}; 52: {amount(pss, 'MiB', 1)}")


def library(figures):
    own = figures.find("library size", "armhf", "-", "libquorapps")
    text = own.median("text_bytes") / 1024 if own else None
    yield judge("libquorapps stripped for armhf", "under 160 KiB of text", [(text, ("<", 160), own)],
                amount(text, "KiB", 1))


def all_targets(figures):
    groups = (round_trip, system_calls, body_sizes, one_way, fan_out, clients, database, reads, watches, queues, conversions,
              start_up, memory, library)
    return [target for group in groups for target in group(figures)]
