import ctypes
import re
import struct

import numpy as np
import pytest
import zelvora
from conftest import LAYOUT_CODES, METHODS

# (format, width, height, stride, threads): odd sizes, padded rows, packed
# rows that run on across row ends, frames tall enough for row bands.
FRAMES = [("BayerRG8", 37, 22, None, 1), ("BayerRG8", 30, 12, 41, 1), ("BayerGB12", 40, 31, None, 1),
          ("BayerBG12Packed", 33, 20, None, 1), ("BayerGR10Packed", 33, 21, 49, 1), ("BayerGR16", 26, 18, 60, 1),
          ("Mono10", 17, 9, None, 1), ("BayerRG12Packed", 64, 300, None, 4)]


def row_bytes(fmt, width):
    return 3 * ((width + 1) // 2) if fmt.endswith("Packed") else width if fmt.endswith("8") else 2 * width


@pytest.mark.parametrize("layout", LAYOUT_CODES)
@pytest.mark.parametrize("method", METHODS)
def test_matches_c_api(capi, rng, method, layout):
    for fmt, width, height, stride, threads in FRAMES:
        stride_used = stride or row_bytes(fmt, width)
        raw = rng.integers(0, 256, height * stride_used + 16, np.uint8).tobytes()
        got = zelvora.demosaic(raw, width, height, fmt, method, layout, stride=stride, threads=threads)
        want = capi.demosaic(raw, width, height, zelvora.formats()[fmt], method, layout, stride_used)
        assert got.tobytes() == want, (fmt, width, height)


@pytest.mark.parametrize("layout, shape", [("bgr8", (6, 8, 3)), ("rgba8", (6, 8, 4)), ("rgb8-planar", (3, 6, 8)),
                                           ("mono8", (6, 8))])
def test_result_shape(layout, shape):
    out = zelvora.demosaic(bytes(48), 8, 6, "BayerRG8", "nearest", layout)
    assert out.shape == shape and out.dtype == np.uint8


def test_every_container_and_view_gives_the_same_picture(rng):
    frame = rng.integers(0, 4096, (24, 32), np.uint16)
    want = zelvora.demosaic(frame.tobytes(), 32, 24, "BayerRG12", "edge")
    wide = np.zeros((24, 64), np.uint16)
    wide[:, ::2] = frame
    readonly = frame.copy()
    readonly.flags.writeable = False
    data = frame.tobytes()
    for raw in (bytearray(data), memoryview(data), np.frombuffer(data, np.uint8), frame.view(np.uint8),
                frame.ravel(), frame, memoryview(frame), wide[:, ::2], np.asfortranarray(frame),
                np.flipud(frame[::-1].copy()), readonly):
        assert np.array_equal(zelvora.demosaic(raw, 32, 24, 0x01100011, "edge"), want)


def test_caller_data_is_never_modified(rng):
    padded = rng.integers(0, 256, (16, 27), np.uint8)
    before = padded.copy()
    got = zelvora.demosaic(padded, 20, 16, "BayerGB8", "bilinear")
    assert np.array_equal(padded, before)
    assert np.array_equal(got, zelvora.demosaic(padded[:, :20].copy(), 20, 16, "BayerGB8", "bilinear"))


def demosaic_with(**change):
    args = dict(raw=bytes(64 * 64), width=64, height=64, format="BayerRG8") | change
    return lambda: zelvora.demosaic(**args)


table32 = zelvora.lsc_calibrate(np.full((32, 32), 200), np.full((32, 32), 10), 8)

REFUSALS = [
    (demosaic_with(raw=np.zeros(4096, np.float32)), TypeError, "uint8 or uint16"),
    (demosaic_with(raw=np.zeros((64, 64), ">u2"), format="BayerRG12"), TypeError, "machine order"),
    (demosaic_with(raw=np.zeros((64, 64), np.uint16)), TypeError, "16-bit containers"),
    (demosaic_with(raw="text"), TypeError, ""),
    (demosaic_with(format=1.5), TypeError, "name or code"),
    (demosaic_with(raw=np.zeros((2, 64, 32), np.uint8)), ValueError, "dimensions"),
    (demosaic_with(raw=bytes(4095)), ValueError, "holds 4095 bytes.*needs 4096"),
    (demosaic_with(raw=bytes(2 * 64 * 64), format="BayerRG12Packed", stride=95), ValueError, "does not fit"),
    (demosaic_with(raw=np.zeros((64, 64), np.uint8), format="BayerRG12"), ValueError, "rows of raw"),
    (demosaic_with(raw=bytes(9000), format="BayerRG12", stride=131), ValueError, "odd"),
    (demosaic_with(format="BayerXY8"), ValueError, "unknown format"),
    (demosaic_with(format=0x12345678), ValueError, "not a raw input code"),
    (demosaic_with(method="cubic"), ValueError, "unknown method"),
    (demosaic_with(layout="yuv"), ValueError, "unknown layout"),
    (demosaic_with(threads=0), ValueError, "threads"),
    (demosaic_with(width=-1), ValueError, "width"),
    (lambda: zelvora.demosaic16(np.zeros((8, 8), np.uint16), "RG", "nearest"), ValueError, "bilinear"),
    (lambda: zelvora.demosaic16(np.zeros((8, 8), np.uint16), "GB", "bilinear"), ValueError, "RG mosaics only"),
    (lambda: zelvora.demosaic16(np.zeros((7, 8), np.uint16)), ValueError, "at least 8x8"),
    (lambda: zelvora.demosaic16(np.zeros((8, 8), np.uint8)), TypeError, "uint16"),
    (lambda: zelvora.demosaic16(np.zeros(64, np.uint16)), ValueError, "dimensions"),
    (lambda: zelvora.demosaic16(np.zeros((8, 8), np.uint16), "XY"), ValueError, "order"),
    (lambda: zelvora.lsc_calibrate(np.ones((32, 32)), np.zeros((32, 32)), 16), ValueError, "8, 10 and 12"),
    (lambda: zelvora.lsc_calibrate(np.ones((32, 32)), np.zeros((32, 32)), 8, "row"), ValueError, "mode"),
    (lambda: zelvora.lsc_calibrate(np.ones((32, 32), bool), np.zeros((32, 32)), 8), TypeError, "float or integer"),
    (lambda: zelvora.lsc_calibrate([], np.zeros((32, 32)), 8), ValueError, "no frames"),
    (lambda: zelvora.lsc_calibrate(np.ones((32, 32)), np.zeros((32, 34)), 8), ValueError, "differ"),
    (lambda: zelvora.lsc_apply(table32, np.zeros((32, 32), np.uint16), "Mono8"), TypeError, "uint8"),
    (lambda: zelvora.lsc_apply(table32, np.zeros((32, 32), np.uint16), "Mono12Packed"), ValueError, "not one"),
    (lambda: zelvora.ShadingTable.from_bytes(bytes(11)), ValueError, "not a shading table"),
    (lambda: zelvora.ShadingTable.from_bytes(table32.bytes()[:-4]), ValueError, "255 entries"),
    (lambda: zelvora.ShadingTable.from_bytes(struct.pack("<3I", 2, 0, 0)), ValueError, "mode 2"),
]


@pytest.mark.parametrize("call, error, match", REFUSALS)
def test_refusals_before_the_library(call, error, match):
    with pytest.raises(error, match=match):
        call()


@pytest.mark.parametrize("call, operation, line", [
    (lambda: zelvora.demosaic(bytes(9), 3, 3, "BayerRG8"), "zelDemosaicing", 96),
    (lambda: zelvora.demosaic(bytes(25), 5, 5, "BayerRG8", "edge", threads=2), "zelDemosaicing", 5661),
    (lambda: zelvora.demosaic16(np.zeros((3, 9), np.uint16), "RG", "bilinear"), "zelDemosaicingBilinearU16", 197),
    (lambda: zelvora.lsc_calibrate(np.ones((31, 32)), np.zeros((31, 32)), 8), "zelGetLSCParameter", 600),
    (lambda: zelvora.lsc_calibrate([np.ones((34, 33))] * 2, np.zeros((34, 33)), 10), "zelGetLSCParameter", 601),
    (lambda: zelvora.lsc_apply(table32, np.zeros((32, 34), np.uint8), "BayerGR8"), "zelLSCorrection", 695),
])
def test_library_errors(capfd, call, operation, line):
    with pytest.raises(zelvora.Error, match=rf"^{operation} failed: errBadImageSize \(-104\), error line = \[{line}\]$") as caught:
        call()
    assert isinstance(caught.value, ValueError)
    assert (caught.value.status, caught.value.status_name, caught.value.line) == (-104, "errBadImageSize", line)
    ctypes.CDLL(None).fflush(None)
    assert capfd.readouterr().out == ""


@pytest.mark.parametrize("order, method", [("RG", "bilinear"), ("RG", "edge"), ("GR", "edge"), ("GB", "edge"),
                                           ("bg", "edge")])
def test_demosaic16_matches_c_api(capi, rng, order, method):
    frame = rng.integers(0, 65536, (21, 34), np.uint16)
    got = zelvora.demosaic16(frame.T.copy().T, order, method)
    assert got.shape == (21, 34, 3) and got.dtype == np.uint16
    assert got.tobytes() == capi.demosaic16(frame, order.upper(), method)


def vignetted(rng, shape, level, count):
    y, x = np.mgrid[:shape[0], :shape[1]]
    fall = 1 - 0.4 * (((y - shape[0] / 2) / shape[0]) ** 2 + ((x - shape[1] / 2) / shape[1]) ** 2)
    return [np.round(level * fall + rng.integers(-3, 4, shape)).astype(np.int32) for _ in range(count)]


@pytest.mark.parametrize("mode", ["block", "pixel"])
@pytest.mark.parametrize("fmt, dtype, depth", [("BayerRG8", np.uint8, 8), ("Mono10", np.uint16, 10),
                                               ("BayerGB12", np.uint16, 12)])
def test_lsc_round_trip(capi, rng, mode, fmt, dtype, depth):
    grey = vignetted(rng, (48, 64), 0.8 * (2 ** depth), 3)
    dark = [np.full((48, 64), 2 ** (depth - 4))] * 2
    table = zelvora.lsc_calibrate(grey, dark, depth, mode)
    assert (table.mode, table.width, table.height) == (mode, 64, 48)
    assert table.bytes()[:12] == struct.pack("<3I", mode == "pixel", 48, 64)
    assert zelvora.ShadingTable.from_bytes(table.bytes()) == table
    assert zelvora.lsc_calibrate(np.mean(grey, axis=0).astype(np.float32), dark[0], depth, mode) == table

    frame = grey[0].astype(dtype)
    frame.flags.writeable = False
    corrected = zelvora.lsc_apply(table, frame, fmt)
    assert corrected.dtype == dtype and corrected.tobytes() == capi.lsc_correct(table.bytes(), frame,
                                                                              zelvora.formats()[fmt])
    assert corrected[1::2].std() < frame[1::2].std() / 2


def test_formats_and_version():
    assert len(zelvora.formats()) == 31 and zelvora.formats()["BayerRG12Packed"] == 0x010C002B
    assert re.fullmatch(r"\d+\.\d+\.\d+", zelvora.__version__)
    assert all(f.__doc__ for f in (zelvora.demosaic, zelvora.demosaic16, zelvora.lsc_calibrate, zelvora.lsc_apply,
                                   zelvora.formats, zelvora.ShadingTable, zelvora.Error))
