"""The C API through ctypes, to hold the module's results against."""
import ctypes
import os

import numpy as np
import pytest

LAYOUT_CODES = {"bgr8": 0x02180015, "rgb8": 0x02180014, "bgra8": 0x02200017, "rgba8": 0x02200016,
                "rgb8-planar": 0x02180021, "bgr8-planar": 0x02180025, "mono8": 0x01080001}
METHODS = {"nearest": 0, "bilinear": 1, "edge": 2}
EDGE16 = {"RG": "demosaicingEdgeRGGBU16", "GR": "demosaicingEdgeGRBGU16",
          "GB": "demosaicingEdgeGBRGU16", "BG": "demosaicingEdgeBGGRU16"}


class ZelImage(ctypes.Structure):
    _fields_ = [("height", ctypes.c_int32), ("width", ctypes.c_int32), ("pixelFormat", ctypes.c_uint32),
                ("data", ctypes.c_void_p), ("stride", ctypes.c_int32)]


class CApi:
    def __init__(self, path):
        self.lib = ctypes.CDLL(path)

    def demosaic(self, raw, width, height, code, method, layout, stride):
        """zelDemosaicing on a copy of raw with room behind it; the output bytes."""
        data = ctypes.create_string_buffer(bytes(raw) + bytes(16))
        out = ctypes.create_string_buffer(width * height * 4)
        handle = ctypes.c_void_p()
        assert self.lib.zelCreate(ctypes.byref(handle)) == 0
        assert self.lib.zelDemosaicSetConfig(handle, ctypes.byref(ctypes.c_uint64(LAYOUT_CODES[layout]))) == 0
        status = self.lib.zelDemosaicing(handle, ctypes.byref(ZelImage(height, width, code, ctypes.addressof(data), stride)),
                                         METHODS[method], ctypes.byref(ZelImage(0, 0, 0, ctypes.addressof(out), 0)))
        self.lib.zelRelease(ctypes.byref(handle))
        assert status == 0
        channels = 1 if layout == "mono8" else 4 if layout in ("bgra8", "rgba8") else 3
        return out.raw[:width * height * channels]

    def demosaic16(self, frame, order, method):
        src = np.ascontiguousarray(frame)
        out = np.zeros(frame.shape + (3,), np.uint16)
        name = "zelDemosaicingBilinearU16" if method == "bilinear" else EDGE16[order]
        getattr(self.lib, name)(ctypes.c_void_p(src.ctypes.data), frame.shape[0], frame.shape[1], ctypes.c_void_p(out.ctypes.data))
        return out.tobytes()

    def lsc_correct(self, table_bytes, frame, code):
        table = ctypes.create_string_buffer(table_bytes)
        out = np.ascontiguousarray(frame).copy()
        image = ZelImage(frame.shape[0], frame.shape[1], code, out.ctypes.data, 0)
        assert self.lib.zelLSCorrection(ctypes.byref(image), ctypes.byref(image), table) == 0
        return out.tobytes()


@pytest.fixture(scope="session")
def capi():
    path = os.environ.get("ZELVORA_LIBRARY")
    if not path:
        pytest.skip("ZELVORA_LIBRARY does not name libZelvora.so")
    return CApi(path)


@pytest.fixture
def rng():
    return np.random.default_rng(13)
