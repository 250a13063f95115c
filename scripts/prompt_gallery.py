#!/usr/bin/env python3
"""Screenshots of LVUI.dll's dialogs at the zooms the host picks on two screens, in several languages, normal and in
high contrast.

For 1920x1080 at 96 DPI and 1280x1024 at 144 DPI, computes the host's zoom for that screen, runs LvUiGallery.exe
under its own Xvfb server in a fresh Wine prefix (scripts/with-wine-prefix) with the DPI set in that prefix, and
turns every BMP it saves into a PNG in the output folder, printing each PNG's path. For every language, zoom and
look it also writes one sheet with all the pages side by side (sheet-LANG-zN[-hc].png). Needs xvfb-run and Wine.

    python3 scripts/prompt_gallery.py --gallery build/mingw-release/bin/LvUiGallery.exe \\
        --lvui build/mingw-release/bin/LVUI.dll --out build/screenshots
"""

import argparse
import shutil
import struct
import subprocess
import sys
import tempfile
import zlib
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parent
SCREENS = [(1920, 1080, 96), (1280, 1024, 144)]
LANGUAGES = ["en", "de", "ja", "ar", "he", "ru", "el", "zh-CN", "ko"]


def mul_div(a, b, c):
    """MulDiv as Windows computes it: a * b / c rounded half away from zero; -1 when c is 0."""
    if c == 0:
        return -1
    product = a * b
    quotient, remainder = divmod(abs(product), abs(c))
    if 2 * remainder >= abs(c):
        quotient += 1
    return quotient if (product < 0) == (c < 0) else -quotient


def host_zoom(width, dpi):
    """The prompt's zoom on a screen `width` pixels wide at `dpi`, as the host computes it."""
    scale = mul_div(100, dpi, 96)
    base = (width // 96 - 4) * 10
    return base + mul_div(10, scale, base)


def read_bmp(bmp_path):
    """An uncompressed 24-bit BMP (either row order) as (width, height, rows of RGB bytes, top first)."""
    data = Path(bmp_path).read_bytes()
    if data[:2] != b"BM":
        raise ValueError(f"{bmp_path}: not a BMP file")
    (offset,) = struct.unpack_from("<I", data, 10)
    width, height, _planes, bits, compression = struct.unpack_from("<iiHHI", data, 18)
    if bits != 24 or compression != 0:
        raise ValueError(f"{bmp_path}: {bits}-bit, compression {compression}; only plain 24-bit is read")
    bottom_up = height > 0
    height = abs(height)
    stride = (width * 3 + 3) & ~3
    rows = []
    for y in range(height):
        source_row = height - 1 - y if bottom_up else y
        start = offset + source_row * stride
        bgr = data[start : start + width * 3]
        rgb = bytearray(len(bgr))
        rgb[0::3] = bgr[2::3]
        rgb[1::3] = bgr[1::3]
        rgb[2::3] = bgr[0::3]
        rows.append(bytes(rgb))
    return width, height, rows


def write_png(png_path, width, height, rows):
    """Writes rows of RGB bytes (top first) as an 8-bit RGB PNG."""
    rows = [b"\x00" + row for row in rows]  # filter type 0 (none) per row

    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body) & 0xFFFFFFFF)

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)  # 8 bits per channel, RGB
    png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(b"".join(rows), 9))
    png += chunk(b"IEND", b"")
    Path(png_path).write_bytes(png)


def bmp_to_png(bmp_path, png_path):
    width, height, rows = read_bmp(bmp_path)
    write_png(png_path, width, height, rows)


def write_sheet(png_path, bitmaps, gap=16):
    """The bitmaps side by side on a grey ground, top-aligned."""
    images = [read_bmp(bmp) for bmp in bitmaps]
    width = sum(image[0] for image in images) + gap * (len(images) + 1)
    height = max(image[1] for image in images) + 2 * gap
    grey = bytes([128, 128, 128])
    rows = [bytearray(grey * width) for _ in range(height)]
    x = gap
    for image_width, image_height, image_rows in images:
        for y in range(image_height):
            rows[gap + y][3 * x : 3 * (x + image_width)] = image_rows[y]
        x += image_width + gap
    write_png(png_path, width, height, [bytes(row) for row in rows])


def run_gallery(work, gallery, lvui, width, height, dpi, zoom):
    """Runs the gallery on its own X server and prefix; returns the BMP files it wrote."""
    program = work / "bin"
    program.mkdir()
    shutil.copy(gallery, program / "LvUiGallery.exe")
    shutil.copy(lvui, program / "LVUI.dll")
    shots = work / "shots"
    shots.mkdir()
    # Wine reaches the Linux file system through drive Z:.
    windows_out = "Z:" + str(shots).replace("/", "\\")
    inner = (
        "wine reg add 'HKCU\\Control Panel\\Desktop' /v LogPixels /t REG_DWORD /d {dpi} /f >/dev/null 2>&1 && "
        'wine "$1" --zoom {zoom} --out "$2" --langs {langs} --high-contrast'
    ).format(dpi=dpi, zoom=zoom, langs=",".join(LANGUAGES))
    command = [
        "xvfb-run", "-a", "-s", f"-screen 0 {width}x{height}x24",
        str(SCRIPTS / "with-wine-prefix"),
        "bash", "-c", inner, "gallery", str(program / "LvUiGallery.exe"), windows_out,
    ]
    result = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            text=True, timeout=600)
    if result.returncode != 0:
        sys.stderr.write(result.stdout + result.stderr)
        raise RuntimeError(f"LvUiGallery failed at {width}x{height}, {dpi} DPI (exit code {result.returncode})")
    # In the gallery's own order: it prints one Windows path per file.
    names = [line.strip().split("\\")[-1] for line in result.stdout.splitlines() if line.strip().endswith(".bmp")]
    return [shots / name for name in names if (shots / name).is_file()]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--gallery", required=True, help="path to LvUiGallery.exe")
    parser.add_argument("--lvui", required=True, help="path to LVUI.dll")
    parser.add_argument("--out", required=True, help="folder for the PNG files (made if missing)")
    args = parser.parse_args()
    out = Path(args.out)
    out.mkdir(parents=True, exist_ok=True)

    for width, height, dpi in SCREENS:
        zoom = host_zoom(width, dpi)
        print(f"{width}x{height} at {dpi} DPI: zoom {zoom}", flush=True)
        with tempfile.TemporaryDirectory(prefix="lvui-gallery.") as work:
            bitmaps = run_gallery(Path(work), Path(args.gallery), Path(args.lvui), width, height, dpi, zoom)
            if not bitmaps:
                raise RuntimeError("LvUiGallery wrote no files")
            sheets = {}
            for bmp in bitmaps:
                png = out / (bmp.stem + ".png")
                bmp_to_png(bmp, png)
                print(f"  {png}", flush=True)
                # page1-ja-z166-hc: the sheet is sheet-ja-z166-hc
                sheets.setdefault("sheet-" + bmp.stem.split("-", 1)[1].replace("bad-", "", 1), []).append(bmp)
            for name, members in sheets.items():
                write_sheet(out / (name + ".png"), members)
                print(f"  {out / (name + '.png')}", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
