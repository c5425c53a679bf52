#!/usr/bin/env python3
"""Measures how many deliberately injected faults the test suites catch.

Copies the tree (the files git knows, as they are on disk) to a scratch
directory, builds it once (release, tests, tool and Python module), then for
every fault below: replaces one piece of code, rebuilds incrementally, runs
ctest and restores the file. A fault is caught when a suite fails (the
failing suites are listed, and with --cases the failing test cases inside
them, from the suites' own reports), and survives when every suite passes. A fault
whose code is no longer found is reported as stale, one that no longer
compiles as broken; neither counts.

    scripts/faults.py [--dir DIR] [--only NAME,...] [--list] [--cmake OPTION]...

Exit status 0 when every fault is caught, 1 when some survive.
"""
import argparse
import filecmp
import os
import re
import shutil
import subprocess
import sys
import time

# (name, file, code, replacement[, occurrence]): the occurrence-th (from 1)
# appearance of `code` in `file` becomes `replacement`.
FAULTS = [
    # ---- input classification and reduction
    ("reduce-shift", "src/input/reduce.hpp", "return sample >> shift;", "return sample >> (shift & 7);"),
    ("reduce-scalar-tail", "src/input/reduce.cpp", "reducedSample<uint32_t>(sample, shift)",
     "reducedSample<uint32_t>(sample, shift + 1)"),
    ("packed-byte", "src/input/reduce.hpp", "return {byte0, byte2};", "return {byte2, byte0};"),
    ("packed-odd-tail", "src/input/reduce.cpp", "2 * k < count; ++k", "2 * k + 1 < count; ++k"),
    ("odd-stride-halfword", "src/input/reduce.cpp", "stride & ~1;", "stride;"),
    ("classify-shift", "src/input/classify.cpp", "{ZEL_PIX_MONO12, ZEL_PIX_MONO8, 4}",
     "{ZEL_PIX_MONO12, ZEL_PIX_MONO8, 3}"),
    ("classify-order", "src/input/classify.cpp", "{ZEL_PIX_BAYER_GB10_PACKED, ZEL_PIX_BAYER_GB8, kPacked}",
     "{ZEL_PIX_BAYER_GB10_PACKED, ZEL_PIX_BAYER_GR8, kPacked}"),
    ("compact-in-place", "src/demosaic/entry.cpp", "if (in.stride != w) u8Tou8", "if (in.stride > w + 8) u8Tou8"),
    ("packed-flat-path", "src/demosaic/entry.cpp", "if (in.stride == w + w / 2)\n",
     "if (in.stride == w + (w + 1) / 2)\n"),
    ("vector-shift-halves", "src/input/reduce-inl.h", "hn::ConcatEven(d8, high, low)",
     "hn::ConcatEven(d8, low, high)"),
    # ---- nearest neighbour
    ("nearest-column0-green", "src/demosaic/nearest.cpp", "return isRow0 ? own[1] : companion[0];",
     "return own[1];"),
    ("nearest-red-pair", "src/demosaic/nearest.hpp", "{t.ownE, t.own, t.comp}", "{t.ownE, t.own, t.compE}"),
    ("nearest-blue-pair", "src/demosaic/nearest.hpp", "{t.compW, t.ownW, t.own}", "{t.comp, t.ownW, t.own}"),
    ("nearest-last-column", "src/demosaic/nearest.cpp", "if (x < width) {", "if (x < width - 1) {"),
    ("nearest-row0-companion", "src/demosaic/nearest.cpp", "src.row(y == 0 ? 1 : y - 1)",
     "src.row(y == 0 ? 0 : y - 1)"),
    ("nearest-blue-column0", "src/demosaic/nearest.cpp", "out.put(base, companion[0], own[0], own[1]);",
     "out.put(base, companion[0], own[1], own[0]);"),
    ("nearest-vector-taps", "src/demosaic/nearest-inl.h", "cw.even, cw.odd, ce.even", "cw.even, cw.odd, cw.odd"),
    # ---- writers and vector stores
    ("alpha-zero", "src/demosaic/layout.hpp", "p[3] = 0;", "p[3] = 255;"),
    ("luma-weights", "src/demosaic/layout.hpp", "kLumaRedFirst[3] = {77, 150, 29}", "kLumaRedFirst[3] = {76, 150, 29}"),
    ("luma-rounding", "src/demosaic/layout.hpp", "static_cast<uint32_t>(b), 128u", "static_cast<uint32_t>(b), 127u"),
    ("luma-swap", "src/demosaic/layout.hpp", "swapRB ? kLumaBlueFirst : kLumaRedFirst", "kLumaRedFirst"),
    ("band-luma", "src/demosaic/band.hpp", "Luma{c.dst, RedIsBlue ? 29u : 77u", "Luma{c.dst, RedIsBlue ? 77u : 77u"),
    ("band-planes", "src/demosaic/band.hpp", "(L == Layout::RgbPlanar) != RedIsBlue;", "(L == Layout::RgbPlanar);"),
    ("band-swap", "src/demosaic/band.hpp", "(L == Layout::Rgb8 || L == Layout::Rgba8) != RedIsBlue",
     "(L == Layout::Rgb8) != RedIsBlue"),
    ("vector-keep-mask", "src/demosaic/layout-inl.h", "hn::Iota(d, 0), three", "hn::Iota(d, 1), three"),
    ("vector-alpha", "src/demosaic/layout-inl.h", "hn::Zero(d), d, p);", "green, d, p);"),
    ("vector-swap", "src/demosaic/layout-inl.h", "const VT first = Swap ? red : blue;", "const VT first = blue;"),
    ("vector-luma-rounding", "src/demosaic/layout-inl.h", "P::splat(128)", "P::splat(127)"),
    ("vector-planes", "src/demosaic/layout-inl.h", "hn::StoreU(blue, d, this->blue + i);",
     "hn::StoreU(red, d, this->blue + i);"),
    ("vector-last-step-parity", "src/simd/lanes-inl.h", "last -= (last - c) & 1;", "last -= 0;"),
    ("vector-step-overrun", "src/simd/lanes-inl.h", "for (; c + step < width; c += step)",
     "for (; c + step <= width; c += step)"),
    ("vector-pair-mask", "src/simd/lanes-inl.h", "(W{1} << kBits) - 1", "(W{1} << kBits) - 2"),
    ("dispatch-best-target", "src/simd/kernels.cpp", "return s.list[0];", "return s.list[s.count - 1];"),
    ("grey-four-bytes", "src/demosaic/entry.cpp", "greyTo(zel::Interleaved<uint8_t, 4>(dst, false)",
     "greyTo(zel::Interleaved<uint8_t, 3>(dst, false)"),
    ("widen-scalar", "src/frame/frame.cpp", "out.put(i, src[3 * i + 2], src[3 * i + 1], src[3 * i]);",
     "out.put(i, src[3 * i], src[3 * i + 1], src[3 * i + 2]);"),
    ("widen-vector", "src/frame/frame-inl.h", "store.samples(i, s2, s1, s0);", "store.samples(i, s0, s1, s2);"),
    ("bmp-padding", "src/frame/frame.cpp", "((row + 3) & ~ptrdiff_t{3})", "((row + 4) & ~ptrdiff_t{3})"),
    # ---- bilinear
    ("bilinear-cross", "src/demosaic/bilinear.hpp", "(p.n + p.s + p.w + p.e) >> 2", "(p.n + p.s + p.w + p.w) >> 2"),
    ("bilinear-diagonal", "src/demosaic/bilinear.hpp", "(p.nw + p.ne + p.sw + p.se) >> 2",
     "(p.nw + p.ne + p.sw + p.sw) >> 2"),
    ("bilinear-green-site", "src/demosaic/bilinear.hpp", "return {horizontal, p.own, vertical};",
     "return {vertical, p.own, horizontal};"),
    ("bilinear-swap-flag", "src/demosaic/bilinear.hpp", "return swapRB == 1;", "return swapRB != 0;"),
    ("bilinear-column0", "src/demosaic/bilinear.hpp", "(out, base, a, 1, 0, 1);", "(out, base, a, 0, 0, 1);"),
    ("bilinear-last-column", "src/demosaic/bilinear.hpp", "a, k - 1, k, k - 1);", "a, k - 1, k, k);"),
    ("bilinear-last-rows", "src/demosaic/bilinear.hpp", "return h - 1 - (h & 1);", "return h - 1;"),
    ("bilinear-walk-rows", "src/demosaic/bilinear.hpp", "for (; y + 2 < height; y += 2) {",
     "for (; y + 3 < height; y += 2) {"),
    ("bilinear-row0-green-quirk", "src/demosaic/bilinear.hpp", "(Sum{row0[0]} + row0[k + 1]",
     "(Sum{row0[k - 1]} + row0[k + 1]"),
    ("bilinear-row1-blue-quirk", "src/demosaic/bilinear.hpp", "(Sum{row0[k]} + row2[1]) >> 1",
     "(Sum{row0[k]} + row2[k]) >> 1"),
    ("bilinear-mono-weight-quirk", "src/demosaic/bilinear.hpp", "return Luma{out.dst, out.wGreen, out.wRed, out.wBlue};",
     "return out;"),
    ("bilinear-band-bottom", "src/demosaic/bilinear.hpp", "y == height - 1 ? height - 2 : y + 1",
     "y == height - 1 ? height - 1 : y + 1"),
    ("bilinear-band-gr-rows", "src/demosaic/bilinear.hpp", "if (!redRowFirst && y < 2)", "if (!redRowFirst && y < 1)"),
    ("bilinear-vector-window", "src/demosaic/bilinear-inl.h", "dw.odd, de.even, de.odd}", "dw.odd, de.even, de.even}"),
    ("bilinear-mono-weights", "src/demosaic/bilinear.cpp", "Luma{dst, weights[2], weights[1], weights[0]}",
     "Luma{dst, weights[0], weights[1], weights[2]}"),
    ("bilinear16-size-check", "src/demosaic/bilinear16.cpp", "if (!(width > 3 && height > 3)) return fail(197",
     "if (!(width > 2 && height > 3)) return fail(197"),
    # ---- edge-directed
    ("edge-equal-gradients", "src/demosaic/edge.hpp", "return pickIfLess(gh, gv, horizontal, vertical);",
     "return pickIfLess(gv, gh, vertical, horizontal);"),
    ("edge-scalar-magnitude", "src/demosaic/edge.hpp", "return v < 0 ? -v : v;", "return v < 0 ? -v - 1 : v;"),
    ("edge-scalar-clamp", "src/demosaic/edge.hpp", "return low > maxValue ? maxValue : low;", "return low;"),
    ("edge-vector-clamp", "src/simd/lanes-inl.h", "{hn::Min(hn::Max(a.v, hn::Zero(D())), max.v)}",
     "{hn::Max(a.v, hn::Zero(D()))}"),
    ("edge-from-four", "src/demosaic/edge.hpp", "floorQuarter(d1 + d2 + d3 + d4)", "floorQuarter(d1 + d2 + d3 + d3)"),
    ("edge-upper-green", "src/demosaic/edge.hpp", "fromTwo(own, w.e[1].oldD, w.e[3].oldD, maxValue)",
     "fromTwo(own, w.e[1].oldD, w.e[1].oldD, maxValue)"),
    ("edge-lower-green", "src/demosaic/edge.hpp", "fromTwo(own, w.e[1].oldD, w.e[1].newD, maxValue)",
     "fromTwo(own, w.e[1].newD, w.e[1].newD, maxValue)"),
    ("edge-mirror", "src/demosaic/edge.hpp", "i > last ? 2 * last - i : i", "i > last ? last : i"),
    ("edge-band-pre-pass", "src/demosaic/edge.hpp", "pass<kGreens>(from - 2);", "pass<kTopBlueGreens>(from - 2);"),
    ("edge-greens-in-alpha-quirk", "src/demosaic/edge.cpp", "c < width; c += 4) line[c]",
     "c < width - 4; c += 4) line[c]"),
    ("edge-min-side", "src/demosaic/edge.cpp", "kMinSide = 6;", "kMinSide = 5;"),
    ("edge-check-number", "src/demosaic/edge.cpp", "kBgraChecks{7543, 7493}", "kBgraChecks{7543, 7494}"),
    ("edge16-rggb-clamp-quirk", "src/demosaic/edge16.cpp", "kMaxValueRGGB = 4095;", "kMaxValueRGGB = 65535;"),
    ("edge16-corner-quirk", "src/demosaic/edge16.cpp", "edge::clampTo(g00 + s(1, 1) - g11, maxValue)",
     "edge::clampTo(edge::clampTo(g00, maxValue) + s(1, 1) - edge::clampTo(g11, maxValue), maxValue)"),
    ("edge-vector-blue-green", "src/demosaic/edge-inl.h", "b2.odd, v4.odd, v1.odd,", "b2.odd, v4.odd, v0.odd,"),
    ("edge-vector-difference", "src/demosaic/edge-inl.h", "difference(r3b.odd, nb.odd)",
     "difference(r3b.odd, ob.odd)"),
    ("edge-vector-old-greens", "src/demosaic/edge-inl.h", "for (int j = site; j < count; j += 2) dst[j] = line[run.greenStep * j];",
     "for (int j = site; j < count; j += 2) dst[j] = line[run.greenStep * (j + 1)];"),
    ("edge16-vector-green-lanes", "src/demosaic/edge-inl.h", "hn::IfThenElse(blueSite, fromBlue, fromRed)",
     "hn::IfThenElse(blueSite, fromRed, fromBlue)"),
    ("edge16-vector-green-store", "src/demosaic/edge-inl.h", "hn::IfThenElse(blueSite, hn::LoadU(d, src + j), green)",
     "hn::IfThenElse(blueSite, green, hn::LoadU(d, src + j))"),
    ("edge-vector-window-carry", "src/demosaic/edge-inl.h", "difference<int>(run.row[site][c], e.oldG)",
     "difference<int>(run.row[site][c], e.newG)"),
    ("edge-vector-upper-only", "src/demosaic/edge-inl.h", "f.template operator()<true, false>();",
     "f.template operator()<false, false>();"),
    ("edge16-ahead-sweep", "src/demosaic/edge.hpp", "fill<K, Site::Blue, true>(p, w.e[3], x + 1, Inside{});",
     "fill<K, Site::Blue, true>(p, w.e[3], x - 1, Inside{});"),
    ("edge16-carry-last-column", "src/demosaic/edge-inl.h", "done[1] = count - 2;", "done[1] = count;"),
    ("edge16-carry-old-column", "src/demosaic/edge-inl.h", "std::memcpy(dst, run.carry.line + x,",
     "std::memcpy(dst, run.carry.line + x + 2,"),
    ("edge16-carry-last-pass", "src/demosaic/edge16.cpp", "carry.keepNew = false;", "carry.keepNew = carry.keepNew;"),
    # ---- entry checks, records and row bands
    ("entry-stride-check", "src/demosaic/entry.cpp", "input->height <= 3 || input->stride <= 3 || input->width <= 3",
     "input->height <= 3 || input->width <= 3"),
    ("entry-method-quirk", "src/demosaic/entry.cpp", "method >= kMethodCount) return ZEL_OK;",
     "method >= kMethodCount) return errInvalidParameter;"),
    ("entry-check-number", "src/demosaic/entry.cpp", "fail(104, errBadImageSize)", "fail(105, errBadImageSize)"),
    ("entry-output-record", "src/demosaic/entry.cpp", "output->pixelFormat = static_cast<uint32_t>(fmt);",
     "output->pixelFormat = 0;"),
    ("rows-reach", "src/demosaic/entry.cpp", "{{1, 1}, {1, 2}, {4, 4}}", "{{1, 1}, {1, 2}, {2, 4}}"),
    ("rows-packed-odd-pixel", "src/demosaic/entry.cpp", "*dst++ = in.data[3 * (pixel / 2) + 2];",
     "*dst++ = in.data[3 * (pixel / 2)];"),
    ("rows-count-check", "src/demosaic/entry.cpp", "rowCount <= 0 ||", "rowCount < 0 ||"),
    ("rows-stride-check", "src/demosaic/entry.cpp", "input->stride < zel::rowBytes(w, sampleShift)",
     "input->stride < w"),
    ("rows-mono-bytes", "src/demosaic/entry.cpp", "c.dst + at * bytesPerPixel", "c.dst + at * 3"),
    ("rows-output-record", "src/demosaic/entry.cpp", "output->pixelFormat = static_cast<uint32_t>(fmt);",
     "output->pixelFormat = 0;", 2),
    ("handle-presets", "src/core/handle.cpp", "values[0] = 12;", "values[0] = 10;"),
    ("handle-config-status", "src/core/handle.cpp", "fail(74, errUnsupportedOutput)", "fail(74, errInvalidParameter)"),
    # ---- lens shading
    ("lsc-rounding", "src/lsc/rule.hpp", "1 << (kGainFractionBits - 1)", "1 << (kGainFractionBits - 2)"),
    ("lsc-unsigned-quirk", "src/lsc/rule.hpp", "Ops::ifZero(gain, Ops::zero(), max)", "Ops::zero()"),
    ("lsc-saturate", "src/lsc/rule.hpp", "v > max ? max : v", "v > max ? max - 1 : v"),
    ("lsc-vector-product", "src/lsc/correct-inl.h", "return (high >> 7) + rest;", "return (high >> 8) + rest;"),
    ("lsc-vector-block-half", "src/lsc/correct-inl.h", "static_cast<uint32_t>(n / 2))",
     "static_cast<uint32_t>(n / 2 + 1))"),
    ("lsc-block-tail", "src/lsc/correct.cpp", "upper + width + 2 * j);", "upper + width + 2 * j + 1);"),
    ("lsc-depth-range", "src/lsc/correct.cpp", "bitDepth > 12) return ZEL_OK;", "bitDepth > 11) return ZEL_OK;"),
    ("lsc-mode-check", "src/lsc/correct.cpp", "if (table->mode > 1) return fail(694",
     "if (table->mode > 2) return fail(694"),
    ("lsc-offset-depth", "src/lsc/correct.cpp", "entryOffset(entry) >> depth.offsetShift",
     "entryOffset(entry) >> (depth.offsetShift + 1)"),
    ("lsc-grey-level-quirk", "src/lsc/estimate.cpp", "+ upper[0]) + upper[1]) * 0.25f",
     "+ upper[0]) + upper[0]) * 0.25f"),
    ("lsc-gain-limit", "src/lsc/estimate.cpp", "if (k > 8.0) return kMaxGain;", "if (k > 7.0) return kMaxGain;"),
    ("lsc-gain-rounding", "src/lsc/estimate.cpp", "k * 131072.0 + 0.5", "k * 131072.0"),
    ("lsc-regional-flat", "src/lsc/estimate.cpp", "return {1.0, 4096};", "return {1.0, 4095};"),
    ("lsc-regional-limit", "src/lsc/estimate.cpp", "return {2.0, kMaxRegionalGain};", "return {1.0, kMaxRegionalGain};"),
    ("lsc-low-saturation", "src/lsc/estimate.cpp", "gainLow | kLowSaturationByte", "gainLow | 4u"),
    ("lsc-round-half-away", "src/lsc/estimate.cpp", "std::max(v, -kLimit) - 0.5", "std::max(v, -kLimit) + 0.5"),
    ("lsc-regional-offset", "src/lsc/estimate.cpp", "static_cast<int>(11 - bitDepth)", "static_cast<int>(10 - bitDepth)"),
    ("lsc-even-size-check", "src/lsc/estimate.cpp", "in.width % 2 != 0 || in.height % 2 != 0",
     "in.width % 2 != 0"),
    ("lsc-late-refusal-quirk", "src/lsc/estimate.cpp", "in.regionKind > 4", "in.regionKind > 5"),
    ("lsc-offset-scale", "src/lsc/estimate.cpp", "(12u - bitDepth) & 0xFFu", "(12u - bitDepth) & 0x7u"),
    # ---- the tool and the Python module
    ("tool-psnr", "tools/zelvora/src/psnr.cpp", "10.0 * std::log10", "20.0 * std::log10"),
    ("tool-opaque-alpha", "tools/zelvora/src/picture.cpp", "if (alpha) out[3] = 255;", "if (alpha) out[3] = 254;"),
    ("tool-pnm-magic", "tools/zelvora/src/writers.cpp", "picture.channels == 1 ? \"P5\" : \"P6\"",
     "picture.channels == 3 ? \"P5\" : \"P6\""),
    ("tool-usage-status", "tools/zelvora/src/cli.cpp", "\" (see 'zelvora help')\");\n        return 2;",
     "\" (see 'zelvora help')\");\n        return 1;"),
    ("tool-failure-status", "tools/zelvora/src/cli.cpp", "e.what());\n        return 1;", "e.what());\n        return 2;"),
    ("tool-frame-bytes-message", "tools/zelvora/src/rawinput.cpp", "std::to_string(frameBytes) + \" bytes each)\"",
     "std::to_string(geometry.stride) + \" bytes each)\""),
    ("tool-frame-index", "tools/zelvora/src/cmd_convert.cpp", "const int64_t index = source.delivered() - 1;",
     "const int64_t index = source.delivered();"),
    ("tool-first-skip", "tools/zelvora/src/rawinput.cpp", "input_.skip(selection.first * frameBytes);",
     "input_.skip(selection.first);"),
    ("tool-count-total", "tools/zelvora/src/rawinput.cpp", "selection.count.value_or(INT64_MAX)",
     "selection.frames.value_or(INT64_MAX)"),
    ("tool-stride-ignored", "tools/zelvora/src/cmd_convert.cpp", "static_cast<int32_t>(g.stride)",
     "static_cast<int32_t>(rowBytes(*g.format, g.size.width))"),
    ("tool-deep-raw-order", "tools/zelvora/src/cmd_convert.cpp",
     "bytes[2 * i] = static_cast<uint8_t>(samples[i]);\n        bytes[2 * i + 1] = static_cast<uint8_t>(samples[i] >> 8);",
     "bytes[2 * i + 1] = static_cast<uint8_t>(samples[i]);\n        bytes[2 * i] = static_cast<uint8_t>(samples[i] >> 8);"),
    ("tool-lsc-repack", "tools/zelvora/src/cmd_lsc.cpp",
     "encodeSamples(corrected, format, size.width, size.height) : frame", "frame : frame"),
    ("tool-signal-unlink", "tools/zelvora/src/rawio.cpp", "if (const char* path = slot.load()) unlink(path);",
     "if (const char* path = slot.load()) (void)path;"),
    ("tool-png-sbit", "tools/zelvora/src/writers.cpp", "if (picture.bits != depth) {", "if (picture.bits < 8) {"),
    ("tool-tiff-byte-order", "tools/zelvora/src/writers.cpp", "encodeRow(picture, samples.data(), row.data(), false);",
     "encodeRow(picture, samples.data(), row.data(), true);"),
    ("tool-band-rows", "tools/zelvora/src/bands.cpp", "static_cast<int32_t>(height * (band + 1) / bands_)",
     "static_cast<int32_t>(height / bands_ * (band + 1))"),
    ("tool-option-twice", "tools/zelvora/src/args.cpp", "!slot.empty() && !option->repeatable",
     "!slot.empty() && option->repeatable"),
    ("tool-takes-no-value", "tools/zelvora/src/args.cpp", "} else if (inlineValue) {",
     "} else if (inlineValue && inlineValue->empty()) {"),
    ("tool-threads-zero", "tools/zelvora/src/bands.cpp", "parsePositive(*text, \"threads\", kMaxThreads)",
     "parseCount(*text, \"threads\", kMaxThreads)"),
    ("tool-abandoned-output", "tools/zelvora/src/rawio.cpp", "std::fclose(stream_);\n        unlink(temporary_.c_str());",
     "std::fclose(stream_);"),
    ("python-band-rows", "python/src/demosaic.cpp", "edge(band + 1) - edge(band), false",
     "edge(band + 1) - edge(band) - 1, false"),
    ("python-error-text", "python/src/capture.cpp", "\" failed: \"", "\" failed with \""),
]


def failedCases(output):
    """The failing cases that GoogleTest and pytest name in their reports."""
    names = re.findall(r"^\[  FAILED  \] ([\w/.]+)(?:,| \(|$)", output, re.M)
    names += re.findall(r"^FAILED \S*::(\S+)", output, re.M)
    return sorted(set(names))


def run(cmd, cwd, log):
    with open(log, "ab") as out:
        return subprocess.run(cmd, cwd=cwd, stdout=out, stderr=subprocess.STDOUT).returncode


def main():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--dir", default=os.path.join(root, "build", "faults"), help="scratch directory")
    parser.add_argument("--only", default="", help="comma-separated fault names")
    parser.add_argument("--list", action="store_true", help="list the faults and stop")
    parser.add_argument("--cases", action="store_true", help="name the failing test cases inside each suite")
    parser.add_argument("--cmake", action="append", default=[], metavar="OPTION",
                        help="an extra CMake option, such as -DCMAKE_CXX_FLAGS=-DHWY_DISABLED_TARGETS=7680 "
                             "(AVX3 alone: quicker rebuilds on a processor that has it)")
    args = parser.parse_args()
    faults = [f for f in FAULTS if not args.only or f[0] in args.only.split(",")]
    if args.list:
        for f in faults:
            print(f"{f[0]:32} {f[1]}")
        return 0

    tree = os.path.join(args.dir, "tree")
    build = os.path.join(args.dir, "build")
    log = os.path.join(args.dir, "log.txt")
    # The copy is brought up to date file by file: a file whose bytes changed
    # gets the current time, so that a build left in the directory by an
    # earlier run (perhaps with a fault compiled in) redoes what depends on it.
    files = subprocess.run(["git", "ls-files", "-z"], cwd=root, capture_output=True, check=True).stdout
    wanted = {name for name in filter(None, files.decode().split("\0")) if os.path.isfile(os.path.join(root, name))}
    for folder, _, names in os.walk(tree):
        for name in names:
            if os.path.relpath(os.path.join(folder, name), tree) not in wanted:
                os.remove(os.path.join(folder, name))
    for name in wanted:
        source, copy = os.path.join(root, name), os.path.join(tree, name)
        if os.path.isfile(copy) and filecmp.cmp(source, copy, shallow=False):
            continue
        os.makedirs(os.path.dirname(copy), exist_ok=True)
        shutil.copy(source, copy)
        os.utime(copy)
    open(log, "w").close()
    configure = ["cmake", "-S", tree, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                 "-DZELVORA_BUILD_BENCH=OFF", "-DZELVORA_BUILD_PYTHON=ON"] + args.cmake
    jobs = str(os.cpu_count() or 2)
    if run(configure, tree, log) or run(["ninja", "-j", jobs], build, log):
        print(f"the unchanged tree does not build (see {log})")
        return 2
    test = ["ctest", "-j", jobs, "--timeout", "300"] + (["--output-on-failure"] if args.cases else [])
    if run(test, build, log):
        print(f"the unchanged tree fails its tests (see {log})")
        return 2

    results = {"caught": [], "survived": [], "stale": [], "broken": []}
    for fault in faults:
        name, path, code, replacement = fault[:4]
        occurrence = fault[4] if len(fault) > 4 else 1
        target = os.path.join(tree, path)
        with open(target) as f:
            original = f.read()
        at = -1
        for _ in range(occurrence):
            at = original.find(code, at + 1)
            if at < 0:
                break
        if at < 0:
            verdict = "stale"
        else:
            with open(target, "w") as f:
                f.write(original[:at] + replacement + original[at + len(code):])
            with open(log, "a") as f:
                f.write(f"\n==== {name}\n")
            start = time.time()
            logged = os.path.getsize(log)
            failing = ""
            verdict = "survived"
            if run(["ninja", "-j", jobs], build, log):
                verdict = "broken"
            elif run(test, build, log):
                verdict = "caught"
                with open(os.path.join(build, "Testing", "Temporary", "LastTestsFailed.log")) as f:
                    failing = " ".join(line.strip().split(":", 1)[-1] for line in f)
                if args.cases:
                    with open(log, "rb") as f:
                        f.seek(logged)
                        failing += " [" + " ".join(failedCases(f.read().decode(errors="replace"))) + "]"
            with open(target, "w") as f:
                f.write(original)
            os.utime(target)  # newer than the faulty objects, so the next build redoes them
        results[verdict].append(name)
        print(f"{verdict:9} {name}" + (f"  ({time.time() - start:.0f} s) {failing}" if at >= 0 else ""), flush=True)

    counted = len(results["caught"]) + len(results["survived"])
    print(f"\ncaught {len(results['caught'])} of {counted} faults"
          + (f" ({100 * len(results['caught']) / counted:.0f}%)" if counted else ""))
    for verdict in ("survived", "stale", "broken"):
        if results[verdict]:
            print(f"{verdict}: {' '.join(results[verdict])}")
    return 1 if results["survived"] else 0


if __name__ == "__main__":
    sys.exit(main())
