"""Objects beside each other and over time: threads, forks, interruptions, memory."""

import gc
import os
import random
import signal
import sys
import threading
import time
from pathlib import Path

import pytest
from kestrixdisp import Converter, Display, DocumentError

NAMES = ("default", "KESTRIX-TEST-NO-SUCH-ID")


def works(display, converter, letter="a"):
    """Whether each gives what it must, with nothing of another call in it."""
    text = letter * random.choice((1, 10, 5000)) + "ä"
    expected = b"\x1bt\0" + text[:-1].encode() + b"\x1bt\2\x84"
    return (display.parse(f"<text>{text}</text>") == b"\x1fr\0" + expected
            and converter.convert(text) == expected
            and converter.raw(text).characters == text[:-1].encode() + b"\x84")


# catches: bytes of another thread, calls that overlap, an object that is of one thread only; a lock
# that a child finds closed, or half a call of another thread
def test_threads_and_forks():
    display, converter = Display(*NAMES), Converter(*NAMES)
    end = time.monotonic() + 3
    failures = []

    def run(letter):
        rounds = 0
        while time.monotonic() < end or rounds < 3:
            with Display(*NAMES) as own_display, Converter(*NAMES) as own_converter:
                if not (works(own_display, own_converter, letter)
                        and all(works(display, converter, letter) for _ in range(20))):
                    failures.append(letter)
            rounds += 1

    threads = [threading.Thread(target=run, args=(letter,)) for letter in "abcd"]
    for thread in threads:
        thread.start()
    children = 0
    while time.monotonic() < end or children < 3:
        child = os.fork()
        if child == 0:
            signal.alarm(60)  # not for ever, where the lock is closed
            good = False
            try:
                with Display(*NAMES) as own_display, Converter(*NAMES) as own_converter:
                    good = works(display, converter) and works(own_display, own_converter)
                display.close()
            finally:
                os._exit(0 if good else 1)
        assert os.waitpid(child, 0)[1] == 0
        children += 1
    for thread in threads:
        thread.join()
    assert not failures


def traced(work, intrude, at):
    """Does the work, with intrude before its opcode number at. Returns whether there was one."""
    count = 0

    def trace(frame, event, argument):
        nonlocal count
        frame.f_trace_opcodes = True
        if event == "opcode":
            count += 1
            if count == at:
                intrude()
        return trace

    sys.settrace(trace)
    try:
        work()
    finally:
        sys.settrace(None)
    return count >= at


# catches: a signal handler or finalizer that frees the bytes at hand, or takes them
@pytest.mark.parametrize("intrusion", ["parse", "close"])
def test_used_at_every_opcode_of_a_call_of_its_own(intrusion):
    def intrude():
        for used, use in ((display, lambda: display.parse("<text>b</text>") == b"\x1fr\0\x1bt\0b"),
                          (converter, lambda: converter.convert("b") == b"\x1bt\0b")):
            try:
                assert used.close() is None if intrusion == "close" else use()
                outcomes.add("done")
            except RuntimeError:
                outcomes.add("refused")
        assert works(other_display, other_converter, "c")

    def work():
        try:
            assert works(display, converter)
            outcomes.add("right")
        except ValueError:
            outcomes.add("closed")

    outcomes = set()
    other_display, other_converter = Display(*NAMES), Converter(*NAMES)
    at = 1
    while True:
        with Display(*NAMES) as display, Converter(*NAMES) as converter:
            if not traced(work, intrude, at):
                break
        at += 1
    assert at > 200
    assert outcomes - {"closed"} == {"done", "refused", "right"}
    assert ("closed" in outcomes) == (intrusion == "close")


# catches: an object that an exception of a signal handler leaves in use, or with output of its text
def test_interrupted():
    class Interrupted(Exception):
        pass

    def interrupt(number, frame):
        raise Interrupted

    display, converter = Display(*NAMES), Converter(*NAMES)
    interruptions = 0
    previous = signal.signal(signal.SIGALRM, interrupt)
    try:
        end = time.monotonic() + 2
        while time.monotonic() < end or interruptions < 10:
            try:
                signal.setitimer(signal.ITIMER_REAL, random.uniform(1e-6, 5e-4))
                while True:
                    works(display, converter, "b")
            except Interrupted:
                interruptions += 1
            assert works(display, converter)
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, previous)


# catches: handles or memory that stay with objects that are forgotten, also in a cycle
def test_forgotten_objects_are_closed():
    for _ in range(40):
        display, converter = Display(*NAMES), Converter(*NAMES)
        display.myself = display
        assert works(display, converter)
        del display
        gc.collect()
    assert len([Converter(*NAMES) for _ in range(31)]) == 31  # and no more are allowed


def resident():
    return int(Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def working(display, converter):
    assert display.parse("<text>a</text>") == b"\x1fr\0" + converter.convert("a")
    assert converter.raw(b"a").characters == b"a"


def failing(display, converter):
    for use, wrong in ((display.parse, "<any><clear/>"), (converter.convert, "\ud800")):
        with pytest.raises((DocumentError, UnicodeEncodeError)):
            use(wrong)


def opened(display, converter):
    with Display(*NAMES) as own, Converter(*NAMES):
        own.parse("<a/>")


# catches: a reference, a cycle or memory that a call leaves behind
@pytest.mark.skipif("libasan" in Path("/proc/self/maps").read_text(),
                    reason="the address sanitizer keeps freed memory")
@pytest.mark.parametrize("work, times", [(working, 100_000), (failing, 20_000), (opened, 2000)])
def test_memory_stays_as_it_is(work, times):
    with Display(*NAMES) as display, Converter(*NAMES) as converter:
        for _ in range(times // 10):
            work(display, converter)
        gc.collect()
        gc.disable()
        try:
            before, objects = resident(), len(gc.get_objects())
            references = sys.getrefcount(None), sys.getrefcount(display), sys.getrefcount(converter)
            for _ in range(times):
                work(display, converter)
            growth, more = resident() - before, len(gc.get_objects()) - objects
            after = sys.getrefcount(None), sys.getrefcount(display), sys.getrefcount(converter)
        finally:
            gc.enable()
    assert growth < 1_000_000
    assert more < 100
    assert max(abs(new - old) for new, old in zip(after, references)) < 100
