#!/usr/bin/env python3
"""Writes the sample bus trace that `lumknx trace` decodes by default.

A day in a small building: switches, dimmers, blinds, room temperatures,
weather station, meters, clock broadcasts, scenes and a display, plus a
handful of malformed telegrams a real bus monitor also records. The bytes are
encoded here independently of the library, following the KNX datapoint types.

    tools/sample/generate_trace.py > tools/sample/building-day.csv
"""
import math
import random
import struct
import sys
from datetime import datetime, timedelta

rng = random.Random(20261120)
DAY = datetime(2026, 11, 20)


def f16(value):
    """KNX 2-byte float: nearest value, smallest exponent."""
    if value == 0:
        return [0, 0]
    for exp in range(16):
        mant = value * 100 / (1 << exp)
        m = int(math.floor(abs(mant) + 0.5)) * (1 if mant >= 0 else -1)
        if -2048 <= m <= 2047:
            word = ((m & 0xFFF) & 0x7FF) | (0x8000 if m < 0 else 0) | (exp << 11)
            return [word >> 8, word & 0xFF]
    raise ValueError(value)


def u8(v):
    return [v & 0xFF]


def u16(v):
    return list(struct.pack(">H", v))


def s16(v):
    return list(struct.pack(">h", v))


def u32(v):
    return list(struct.pack(">I", v))


def s32(v):
    return list(struct.pack(">i", v))


def f32(v):
    return list(struct.pack(">f", v))


def tod(t, weekday=True):
    day = (t.isoweekday() if weekday else 0)
    return [(day << 5) | t.hour, t.minute, t.second]


def date(t):
    year = t.year - 1900 if t.year < 2000 else t.year - 2000
    return [t.day, t.month, year]


def datetime19(t):
    # Standard layout, year - 1900; weekday set, working day not valid.
    return [t.year - 1900, t.month, t.day, (t.isoweekday() << 5) | t.hour, t.minute, t.second, 0x20, 0x00]


def text14(s):
    b = s.encode("latin-1")[:14]
    return list(b + bytes(14 - len(b)))


rows = []


def add(t, src, dst, dpt, data):
    if isinstance(data, list):
        data = " ".join("%02X" % b for b in data)
    rows.append((t, src, dst, dpt, data))


rooms = ["1", "2", "3", "4", "5", "6"]
t0 = DAY

# Room temperatures every 15 minutes, set points at morning and evening.
for q in range(96):
    t = t0 + timedelta(minutes=15 * q, seconds=rng.randint(0, 40))
    for i, room in enumerate(rooms):
        base = 20.5 + 1.5 * math.sin((q / 96.0) * 2 * math.pi - 1.8) + 0.3 * i
        temp = round(base + rng.uniform(-0.2, 0.2), 2)
        add(t + timedelta(seconds=i), "1.1.%d" % (10 + i), "3/1/%s" % room, "9.001", f16(temp))
    if q % 4 == 0:
        hum = round(45 + 10 * math.sin(q / 15.0), 1)
        add(t, "1.1.30", "3/2/1", "9.007", f16(hum))
        lux = max(0.0, round(30000 * math.sin(max(0.0, (q - 28) / 40.0 * math.pi)), 0)) if 28 <= q <= 68 else 0.0
        add(t + timedelta(seconds=2), "1.1.31", "3/2/2", "9.004", f16(lux))
        add(t + timedelta(seconds=3), "1.1.31", "3/2/3", "9.005", f16(round(rng.uniform(0, 8), 1)))
        add(t + timedelta(seconds=4), "1.1.31", "3/2/4", "9.002", f16(round(rng.uniform(-2, 2), 2)))
        add(t + timedelta(seconds=5), "1.1.32", "3/2/5", "9.006", f16(round(rng.uniform(98000, 102000), 0)))

for room in ["1", "2", "3"]:
    for hour, sp in ((6, 21.0), (22, 18.5)):
        add(t0 + timedelta(hours=hour), "1.1.1", "3/3/%s" % room, "9.001", f16(sp))

# Lights and dimmers through the day.
for n in range(60):
    t = t0 + timedelta(hours=rng.choice([6, 7, 8, 12, 17, 18, 19, 20, 21, 22, 23]), minutes=rng.randint(0, 59),
                       seconds=rng.randint(0, 59))
    light = rng.randint(1, 12)
    on = rng.random() < 0.55
    add(t, "1.2.%d" % light, "1/1/%d" % light, "1.001", u8(1 if on else 0))
    add(t + timedelta(milliseconds=120), "1.2.%d" % (40 + light), "1/4/%d" % light, "1.001", u8(1 if on else 0))
    if light <= 4:
        add(t + timedelta(seconds=1), "1.2.%d" % light, "1/2/%d" % light, "3.007", u8(0x0B if on else 0x03))
        add(t + timedelta(seconds=2), "1.2.%d" % (40 + light), "1/3/%d" % light, "5.001",
            u8(rng.randint(40, 255) if on else 0))

# Blinds: position and angle.
for hour in (7, 12, 19):
    for b in range(1, 5):
        t = t0 + timedelta(hours=hour, seconds=5 * b)
        add(t, "1.3.%d" % b, "2/1/%d" % b, "1.008", u8(0 if hour < 19 else 1))
        add(t + timedelta(seconds=30), "1.3.%d" % b, "2/2/%d" % b, "5.001", u8(rng.choice([0, 64, 128, 255])))
        add(t + timedelta(seconds=31), "1.3.%d" % b, "2/3/%d" % b, "5.003", u8(rng.randint(0, 255)))

# Clock: time of day every hour, date at midnight and noon, date and time every 6 hours.
for hour in range(24):
    t = t0 + timedelta(hours=hour)
    add(t, "1.0.1", "0/0/1", "10.001", tod(t))
    if hour in (0, 12):
        add(t + timedelta(seconds=1), "1.0.1", "0/0/2", "11.001", date(t))
    if hour % 6 == 0:
        add(t + timedelta(seconds=2), "1.0.1", "0/0/3", "19.001", datetime19(t))

# Meters: energy, power, counters.
energy = 1843201
pulses = 0
for q in range(48):
    t = t0 + timedelta(minutes=30 * q, seconds=20)
    power = round(rng.uniform(150, 3200), 1)
    energy += int(power / 2)
    pulses = (pulses + rng.randint(0, 400)) & 0xFFFF
    add(t, "1.4.1", "4/1/1", "14.056", f32(power))
    add(t + timedelta(seconds=1), "1.4.1", "4/1/2", "13.010", s32(energy))
    add(t + timedelta(seconds=2), "1.4.2", "4/1/3", "12.001", u32(energy * 3))
    add(t + timedelta(seconds=3), "1.4.2", "4/1/4", "7.001", u16(pulses))
    add(t + timedelta(seconds=4), "1.4.3", "4/1/5", "8.001", s16(rng.randint(-500, 500)))
    if q % 8 == 0:
        add(t + timedelta(seconds=5), "1.4.3", "4/1/6", "14.068", f32(round(rng.uniform(-5, 35), 2)))
        add(t + timedelta(seconds=6), "1.4.4", "4/1/7", "232.600", [rng.randint(0, 255) for _ in range(3)])
        add(t + timedelta(seconds=7), "1.4.4", "4/1/8", "27.001", u32(rng.getrandbits(32)))
        add(t + timedelta(seconds=8), "1.4.4", "4/1/9", "6.001", u8(rng.randint(0, 255)))

# Heating: HVAC mode, valve positions, status, priority control.
for hour in (6, 9, 17, 22):
    t = t0 + timedelta(hours=hour, minutes=1)
    add(t, "1.5.1", "5/1/1", "20.102", u8(1 if hour in (6, 17) else 3))
    for room in rooms[:3]:
        add(t + timedelta(seconds=int(room)), "1.5.%s" % room, "5/2/%s" % room, "5.001", u8(rng.randint(0, 255)))
        add(t + timedelta(seconds=10 + int(room)), "1.5.%s" % room, "5/3/%s" % room, "6.020",
            u8((rng.randint(0, 31) << 3) | rng.choice([1, 2, 4])))
    add(t + timedelta(seconds=20), "1.5.9", "5/4/1", "2.001", u8(rng.choice([0, 1, 2, 3])))
    add(t + timedelta(seconds=21), "1.5.9", "5/4/2", "21.001", u8(rng.randint(0, 31)))
    add(t + timedelta(seconds=22), "1.5.9", "5/4/3", "23.001", u8(rng.randint(0, 3)))
    add(t + timedelta(seconds=23), "1.5.9", "5/4/4", "20.105", u8(rng.randint(0, 3)))
    add(t + timedelta(seconds=24), "1.5.9", "5/4/5", "5.010", u8(rng.randint(0, 255)))

# Scenes, display texts, access control.
scenes = [(7, 0), (7, 30), (12, 0), (18, 30), (22, 15), (23, 45)]
for i, (h, m) in enumerate(scenes):
    t = t0 + timedelta(hours=h, minutes=m)
    add(t, "1.6.1", "6/1/1", "17.001", u8(i + 1))
    add(t + timedelta(seconds=1), "1.6.1", "6/1/2", "18.001", u8((0x80 if i == 2 else 0) | (i + 1)))
    add(t + timedelta(seconds=2), "1.6.2", "6/1/3", "26.001", u8((0x40 if i % 2 else 0) | (i + 1)))
    add(t + timedelta(seconds=3), "1.6.3", "6/2/1", "16.001",
        text14(["Guten Morgen", "Frühstück", "Mittag", "Abendessen", "Gute Nacht", "Nachtruhe"][i]))
    add(t + timedelta(seconds=4), "1.6.3", "6/2/2", "16.000", text14(["ECO", "COMFORT", "AWAY"][i % 3]))
    add(t + timedelta(seconds=5), "1.6.3", "6/2/3", "4.001", u8(ord("ABCDEF"[i])))
    add(t + timedelta(seconds=6), "1.6.3", "6/2/4", "4.002", u8(0xE9 if i == 1 else ord("xyzuvw"[i])))
    add(t + timedelta(seconds=7), "1.6.4", "6/3/1", "15.000", u32((rng.randint(0, 999999) << 8) | 0x08))
    add(t + timedelta(seconds=8), "1.6.4", "6/3/2", "236.001", u8(rng.randint(0, 15)))
    add(t + timedelta(seconds=9), "1.6.4", "6/3/3", "238.600", u8(rng.randint(0, 63)))

# Malformed telegrams a bus monitor records.
bad = [
    ("9.001", "0C"),                      # too short for a 2-byte float
    ("9.001", "7F FF"),                   # the KNX invalid-data marker
    ("9.001", "0C 33 00"),                # too long
    ("11.001", "1F 0D 5A"),               # month 13
    ("11.001", "80 01 14"),               # reserved bits set
    ("10.001", "17 3C 00"),               # minute 60
    ("10.001", "17 40 00"),               # reserved bits set
    ("19.001", "7E 02 1E 0C 00 00 24 00"),# 30 February
    ("5.006", "FF"),                      # beyond 254
    ("4.001", "E9"),                      # not ASCII
    ("6.020", "00"),                      # no mode bit
    ("6.020", "FF"),                      # three mode bits
    ("18.001", "40"),                     # reserved bit
    ("26.001", "80"),                     # reserved bit
    ("17.001", "40"),                     # scene 64
    ("99.001", "12"),                     # a DPT the library does not know
    ("9.001", "ZZ 12"),                   # not hexadecimal
    ("9.x01", "0C 33"),                   # not a DPT
]
for i, (dpt, data) in enumerate(bad):
    t = t0 + timedelta(hours=1 + i, minutes=rng.randint(0, 59), seconds=rng.randint(0, 59))
    add(t, "1.7.%d" % (i + 1), "7/0/%d" % (i + 1), dpt, data)

rows.sort(key=lambda r: r[0])
out = sys.stdout
out.write("time,source,destination,dpt,data\n")
for t, src, dst, dpt, data in rows:
    out.write("%s,%s,%s,%s,%s\n" % (t.strftime("%Y-%m-%dT%H:%M:%S.") + "%03d" % (t.microsecond // 1000), src, dst, dpt, data))
# Two lines that are not telegrams at all.
out.write("2026-11-20T23:59:59.999,1.1.1\n")
out.write("this is not a telegram\n")
