#!/usr/bin/env python3
"""Draws docs/architecture.svg from docs/architecture.txt: boxes on a grid, arrows between them.

Usage: python3 docs/draw_diagram.py [SOURCE [OUTPUT]]
"""
import sys
from html import escape
from pathlib import Path

BOX_W, BOX_H, GAP_X, GAP_Y, MARGIN = 370, 86, 170, 42, 20
LINE = 15


def parse(text):
    boxes, edges = {}, []
    for raw in text.splitlines():
        line = raw.strip()
        if not line or line.startswith("#"):
            continue
        kind, _, rest = line.partition(" ")
        fields = [f.strip() for f in rest.split("|")]
        if kind == "box":
            ident, column, row, title, body = fields
            boxes[ident] = (int(column), int(row), title, [s.strip() for s in body.split(";")])
        elif kind == "edge":
            ends, label = fields
            source, _, target = (e.strip() for e in ends.partition("->"))
            edges.append((source, target, label))
        else:
            raise SystemExit(f"unknown line: {raw}")
    return boxes, edges


def origin(column, row, first_column):
    return (MARGIN + (column - first_column) * (BOX_W + GAP_X), MARGIN + row * (BOX_H + GAP_Y))


def draw(boxes, edges):
    first = min(b[0] for b in boxes.values())
    columns = max(b[0] for b in boxes.values()) - first + 1
    rows = max(b[1] for b in boxes.values()) + 1
    width = 2 * MARGIN + columns * BOX_W + (columns - 1) * GAP_X
    height = 2 * MARGIN + rows * BOX_H + (rows - 1) * GAP_Y
    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
        f'viewBox="0 0 {width} {height}" font-family="sans-serif">',
        '<defs><marker id="arrow" viewBox="0 0 10 10" refX="10" refY="5" markerWidth="8" '
        'markerHeight="8" orient="auto"><path d="M0,0 L10,5 L0,10 z" fill="#444"/></marker></defs>',
        f'<rect width="{width}" height="{height}" fill="white"/>',
    ]
    for ident, (column, row, title, body) in boxes.items():
        x, y = origin(column, row, first)
        out.append(f'<rect x="{x}" y="{y}" width="{BOX_W}" height="{BOX_H}" rx="8" '
                   'fill="#eef4fb" stroke="#4a78a8" stroke-width="1.5"/>')
        out.append(f'<text x="{x + 10}" y="{y + 20}" font-size="14" font-weight="bold" '
                   f'fill="#1d3b5c">{escape(title)}</text>')
        for i, text in enumerate(body):
            out.append(f'<text x="{x + 10}" y="{y + 40 + i * LINE}" font-size="11.5" '
                       f'fill="#222">{escape(text)}</text>')
    for source, target, label in edges:
        sc, sr, *_ = boxes[source]
        tc, tr, *_ = boxes[target]
        sx, sy = origin(sc, sr, first)
        tx, ty = origin(tc, tr, first)
        if sc == tc:  # straight down the column
            x1, y1, x2, y2 = sx + BOX_W / 2, sy + BOX_H, tx + BOX_W / 2, ty
        elif sr == tr:  # side by side
            x1, y1 = (sx, sy + BOX_H / 2) if sc > tc else (sx + BOX_W, sy + BOX_H / 2)
            x2, y2 = (tx + BOX_W, ty + BOX_H / 2) if sc > tc else (tx, ty + BOX_H / 2)
        else:  # down and across: leave from the side, arrive at the top
            x1 = sx + BOX_W if tc > sc else sx
            y1 = sy + BOX_H / 2
            x2, y2 = tx + BOX_W / 2, ty
            out.append(f'<path d="M{x1},{y1} H{x2} V{y2}" fill="none" stroke="#444" '
                       'stroke-width="1.5" marker-end="url(#arrow)"/>')
            if label:
                out.append(f'<text x="{x2 + 6}" y="{y1 - 6}" font-size="11" fill="#444" '
                           f'text-anchor="middle">{escape(label)}</text>')
            continue
        out.append(f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" stroke="#444" '
                   'stroke-width="1.5" marker-end="url(#arrow)"/>')
        for i, text in enumerate(label.split(";") if label else []):
            out.append(f'<text x="{(x1 + x2) / 2}" y="{(y1 + y2) / 2 - 8 - (1 - i) * 13}" '
                       f'font-size="11" fill="#444" text-anchor="middle">{escape(text.strip())}</text>')
    out.append("</svg>")
    return "\n".join(out) + "\n"


def main():
    here = Path(__file__).resolve().parent
    source = Path(sys.argv[1]) if len(sys.argv) > 1 else here / "architecture.txt"
    output = Path(sys.argv[2]) if len(sys.argv) > 2 else here / "architecture.svg"
    output.write_text(draw(*parse(source.read_text())))


if __name__ == "__main__":
    main()
