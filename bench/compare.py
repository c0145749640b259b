#!/usr/bin/env python3
"""Runs kelo_bench and prints one table: each workload on the device, on SDL's
OpenGL renderer (or SDL_image) and on plain GL, with wall-clock times and the
ratio of each to the device's. Usage: compare.py PATH/TO/kelo_bench [args]"""
import json
import subprocess
import sys

WORKLOADS = [
    ("100k textured quads, 100 shapes", "BM_Scene_"),
    ("start-up to first frame", "BM_Startup_"),
    ("load 100 PNG textures", "BM_Textures_"),
]
RIVALS = {"Kelo": "kelo-ogl", "SDL": "SDL renderer", "SDLImage": "SDL_image", "RawGL": "raw GL"}


def main():
    command = [sys.argv[1], "--benchmark_format=json", "--benchmark_filter=_(Kelo|SDL|SDLImage|RawGL)/",
               *sys.argv[2:]]
    result = json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)
    times = {b["name"].split("/")[0]: b["real_time"] for b in result["benchmarks"]}
    print(f"{'workload':34} {'runner':14} {'ms':>9} {'vs kelo-ogl':>12}")
    for title, prefix in WORKLOADS:
        ours = times.get(prefix + "Kelo")
        for suffix, runner in RIVALS.items():
            time = times.get(prefix + suffix)
            if time is None:
                continue
            ratio = f"{time / ours:.2f}x" if ours else "-"
            print(f"{title:34} {runner:14} {time:9.2f} {ratio:>12}")
            title = ""


if __name__ == "__main__":
    main()
