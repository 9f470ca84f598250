# SPDX-License-Identifier: MIT
"""What ./dev bench makes of its measurements, without measuring anything."""

import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "bench"))

from quillon_bench import chart, links, model, report, resume, state
from quillon_bench.measure import Failure, Run, in_sequence, run
from quillon_bench.model import Section, at_least, at_most, not_measured
from quillon_bench.rounds import interleave

SAVED = """7 openat(AT_FDCWD</d>, "/d/place/CvBreakResumeDownLoad.ini", O_RDWR) = 9
7 fdatasync(9</d/place/CvBreakResumeDownLoad.ini>) = 0
7 write(8</d/place/Corvina9(x64).tmp>, ""..., 16384) = 16384
7 pwrite64(9</d/place/CvBreakResumeDownLoad.ini>, ""..., 500, 0 <unfinished ...>
8 fdatasync(8</d/place/Corvina9(x64).tmp>) = 0
7 <... pwrite64 resumed>) = 500
7 write(8</d/place/Corvina9(x64).tmp>, ""..., 16384) = 16384
7 pwrite64(9</d/place/CvBreakResumeDownLoad.ini>, ""..., 500, 0) = 500
8 fsync(8</d/place/Corvina9(x64).tmp>) = 0
"""


def measured(wall: float, status: int = 0) -> Run:
    return Run(wall, cpu=wall / 2, peak=wall * 10, switches=3, status=status, output="")


class Arithmetic(unittest.TestCase):
    def test_a_ratio_compares_within_each_round(self):
        # The second round was slow for both of them.
        self.assertEqual(model.ratio([2.0, 30.0, 1.1], [1.0, 20.0, 1.0]), 1.5)

    def test_contenders_with_different_rounds_have_no_ratio(self):
        self.assertRaises(ValueError, model.ratio, [1.0], [1.0, 2.0])

    def test_a_goal_that_is_missed_tells_its_distance(self):
        self.assertEqual(at_most("1", "time", 1.25, 1.0).outcome(), "missed by 0.250 (25.0%)")
        self.assertEqual(at_least("4", "speed", 4.5, 5.0).outcome(), "missed by 0.500 (10.0%)")

    def test_a_figure_at_its_limit_is_met(self):
        self.assertEqual(at_most("1", "time", 1.05, 1.05).outcome(), "met")
        self.assertEqual(at_least("4", "speed", 4.8, 4.8).outcome(), "met")

    def test_a_goal_that_was_not_measured_tells_why(self):
        self.assertEqual(not_measured("5", "link", "no root").outcome(), "not measured: no root")

    def test_commands_in_sequence_add_up_and_share_a_peak(self):
        both = in_sequence([measured(2.0), measured(1.0, status=4)])
        self.assertEqual((both.wall, both.cpu, both.peak, both.switches, both.status), (3.0, 1.5, 20.0, 6, 4))

    def test_each_round_begins_with_another_contender(self):
        order: list[str] = []

        def note(name: str):
            return lambda number: order.append(f"{name}{number}") or measured(1.0)

        interleave({name: note(name) for name in "abc"}, 3)
        self.assertEqual(order, ["a0", "b0", "c0", "b1", "c1", "a1", "c2", "a2", "b2"])

    def test_a_command_that_fails_ends_the_benchmark(self):
        self.assertRaises(Failure, run, ["false"])

    def test_a_command_is_measured_with_its_output(self):
        code = "import time; held = bytearray(30 << 20); time.sleep(0.3); print(len(held))"
        result = run([sys.executable, "-c", code])
        self.assertEqual(result.output.strip(), str(30 << 20))
        self.assertGreater(result.peak, 30)
        self.assertGreater(result.cpu, 0)

    def test_a_trace_counts_between_the_first_and_the_last_chunk(self):
        trace = state.read_trace(SAVED)
        self.assertEqual((trace.chunks, trace.state_writes, trace.state_bytes), (2, 1, 500))
        self.assertEqual((trace.syncs, trace.syncs_in_all), (1, 3))

    def test_every_contender_of_a_round_is_cut_at_the_same_places(self):
        size = 300 << 20
        self.assertEqual(links.cuts(size, 1), links.cuts(size, 1))
        self.assertNotEqual(links.cuts(size, 1), links.cuts(size, 2))
        self.assertEqual(len(links.cuts(size, 1)), 3)
        self.assertTrue(all(0 < int(place) < size for place in links.cuts(size, 1)))

    def test_a_wrong_file_is_told_with_what_its_downloader_said(self):
        kept, replaced = resume.Outcome(1 << 20, True, 0), resume.Outcome(0, False, 0)
        row = resume.row_of("curl", kept, replaced, 100 << 20)
        self.assertEqual(row, ["curl", "1.0", "1.010 ×", "right", "wrong, told as right"])
        self.assertIn("not there, exit 8", resume.row_of("wget", kept, resume.Outcome(0, False, 8), 1))

    def test_a_page_has_the_tables_and_the_goals(self):
        section = Section("1. Disk", ["who", "s"], [["curl", "1.00"]], [at_most("1", "time", 2.0, 1.0)])
        text = report.page("today", "Quick.", [("kernel", "Linux")], [section])
        for line in ("| who | s |", "| curl | 1.00 |", "| 1 time | 2 | ≤ 1 | **missed by 1 (100.0%)** |", "| kernel | Linux |"):
            self.assertIn(line, text.splitlines())

    def test_a_chart_draws_the_longest_bar_to_the_edge(self):
        drawn = chart.draw([Section("A & B", bars=[("curl", 1.0, "s"), ("module", 2.0, "s")])])
        self.assertIn("A &amp; B", drawn)
        self.assertIn('class="module" x="290" y="66" width="450.0"', drawn)
        self.assertIn('class="peer" x="290" y="44" width="225.0"', drawn)


if __name__ == "__main__":
    unittest.main()
