#!/usr/bin/env python3
"""Writes data/swaying_tube.gltf: a small animated glTF 2.0 model for trying motion packs.

A tube 2 units tall (radius 0.35, y up) skinned to a chain of four bones, 0.5 apart. Twice in five
seconds (it loops) each bone sways about z and x with a lag up the chain, so the tube waves like a
plant in the wind while it bobs. Vertex colours run through the hues from bottom to top, banded around.
Run again to remake the file: python3 scripts/make_motion_pack.py [OUTPUT]
"""
import base64
import colorsys
import json
import math
import struct
import sys

AROUND, ALONG, HEIGHT, RADIUS, BONES = 32, 24, 2.0, 0.35, 4
SPAN = HEIGHT / BONES
DURATION, KEYS, SWAYS = 5.0, 41, 2


def quat(axis, angle):
    s = math.sin(angle / 2)
    return [axis[0] * s, axis[1] * s, axis[2] * s, math.cos(angle / 2)]


def qmul(a, b):
    ax, ay, az, aw = a
    bx, by, bz, bw = b
    return [aw * bx + ax * bw + ay * bz - az * by, aw * by - ax * bz + ay * bw + az * bx,
            aw * bz + ax * by - ay * bx + az * bw, aw * bw - ax * bx - ay * by - az * bz]


positions, colours, joints, weights, indices = [], [], [], [], []
for i in range(ALONG + 1):
    y = HEIGHT * i / ALONG
    k = min(int(y / SPAN), BONES - 1)
    f = min(max((y - k * SPAN) / SPAN, 0.0), 1.0)
    for j in range(AROUND):
        a = 2 * math.pi * j / AROUND
        positions += [RADIUS * math.cos(a), y, RADIUS * math.sin(a)]
        r, g, b = colorsys.hsv_to_rgb(y / HEIGHT * 0.8, 0.85, 1.0 if (j // 4) % 2 == 0 else 0.6)
        colours += [r, g, b, 1.0]
        nxt = min(k + 1, BONES - 1)
        joints += [k, nxt, 0, 0]
        weights += [1.0 - f, f, 0.0, 0.0] if nxt != k else [1.0, 0.0, 0.0, 0.0]
for i in range(ALONG):
    for j in range(AROUND):
        v00, v01 = i * AROUND + j, i * AROUND + (j + 1) % AROUND
        v10, v11 = v00 + AROUND, v01 + AROUND
        # Counter-clockwise seen from outside: the faces point away from the axis.
        indices += [v00, v10, v01, v01, v10, v11]

times = [DURATION * n / (KEYS - 1) for n in range(KEYS)]
rotations = []
for k in range(BONES):
    keys = []
    for t in times:
        phase = 2 * math.pi * SWAYS * t / DURATION - 0.9 * k
        sway = quat([0, 0, 1], math.radians(18) * math.sin(phase))
        nod = quat([1, 0, 0], math.radians(10) * math.sin(2 * phase))
        keys += qmul(sway, nod)
    rotations.append(keys)
bob = []
for t in times:
    bob += [0.0, 0.15 * abs(math.sin(2 * math.pi * SWAYS * t / DURATION)), 0.0]

blob, views, accessors = bytearray(), [], []


def add(fmt, values, component, count, kind, extra=None):
    while len(blob) % 4:
        blob.append(0)
    offset = len(blob)
    blob.extend(struct.pack("<%d%s" % (len(values), fmt), *values))
    views.append({"buffer": 0, "byteOffset": offset, "byteLength": len(blob) - offset})
    acc = {"bufferView": len(views) - 1, "componentType": component, "count": count, "type": kind}
    acc.update(extra or {})
    accessors.append(acc)
    return len(accessors) - 1


n = len(positions) // 3
pos = add("f", positions, 5126, n, "VEC3", {"min": [-RADIUS, 0, -RADIUS], "max": [RADIUS, HEIGHT, RADIUS]})
col = add("f", colours, 5126, n, "VEC4")
jnt = add("B", joints, 5121, n, "VEC4")
wgt = add("f", weights, 5126, n, "VEC4")
idx = add("H", indices, 5123, len(indices), "SCALAR")
ibm = []
for k in range(BONES):
    ibm += [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -k * SPAN, 0, 1]
ibms = add("f", ibm, 5126, BONES, "MAT4")
tim = add("f", times, 5126, KEYS, "SCALAR", {"min": [0], "max": [DURATION]})
rot = [add("f", rotations[k], 5126, KEYS, "VEC4") for k in range(BONES)]
trn = add("f", bob, 5126, KEYS, "VEC3")

nodes = [{"name": "tube", "mesh": 0, "skin": 0}]
for k in range(BONES):
    node = {"name": "bone%d" % k, "translation": [0, 0 if k == 0 else SPAN, 0]}
    if k + 1 < BONES:
        node["children"] = [k + 2]
    nodes.append(node)
samplers = [{"input": tim, "output": rot[k]} for k in range(BONES)] + [{"input": tim, "output": trn}]
channels = [{"sampler": k, "target": {"node": k + 1, "path": "rotation"}} for k in range(BONES)]
channels.append({"sampler": BONES, "target": {"node": 1, "path": "translation"}})
gltf = {
    "asset": {"version": "2.0", "generator": "scripts/make_motion_pack.py"},
    "scene": 0,
    "scenes": [{"nodes": [0, 1]}],
    "nodes": nodes,
    "meshes": [{"primitives": [{"attributes": {"POSITION": pos, "COLOR_0": col, "JOINTS_0": jnt, "WEIGHTS_0": wgt},
                                "indices": idx}]}],
    "skins": [{"joints": list(range(1, BONES + 1)), "inverseBindMatrices": ibms}],
    "animations": [{"name": "sway", "samplers": samplers, "channels": channels}],
    "accessors": accessors,
    "bufferViews": views,
    "buffers": [{"byteLength": len(blob),
                 "uri": "data:application/octet-stream;base64," + base64.b64encode(bytes(blob)).decode()}],
}
out = sys.argv[1] if len(sys.argv) > 1 else "data/swaying_tube.gltf"
with open(out, "w") as f:
    json.dump(gltf, f, separators=(",", ":"))
    f.write("\n")
