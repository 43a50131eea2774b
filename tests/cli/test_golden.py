# (c) the ztrace developers. Licence: see LICENSE.
"""The command's drawings, byte for byte: every method on small pictures of every kind.

The kept drawings stand in golden/<case>.svg and .json; scripts/update-golden-drawings.sh alone writes
them anew, in a commit that says why they changed.
"""
import os
import sys
import tempfile
import subprocess
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
GOLDEN = os.path.join(HERE, "golden")

# Case: picture and options.
CASES = {
    # Ink.
    "ink-soft": ("letters", "-p lineart --fit engine"),
    "ink-one-bit": ("letters-one-bit", "-p lineart --fit engine"),
    "ink-scan": ("scan", "-p lineart --fit engine"),
    "ink-scan-fine": ("scan", "-p lineart --tolerance 0.5 --upsample 3"),
    "ink-scan-plain": ("scan", "-p lineart --upsample 1"),
    "ink-otsu": ("page-shadow", "-p lineart --threshold otsu --fit engine"),
    "ink-even-light": ("page-shadow", "-p lineart --fit engine"),
    "ink-adaptive": ("page-shadow", "-p lineart --threshold adaptive --fit engine"),
    "ink-fixed": ("letters", "-p lineart --threshold 90 --fit engine"),
    "ink-deskew": ("page-crooked", "-p lineart --deskew --fit engine"),
    "ink-despeckle": ("page", "-p lineart --despeckle 4 --fit engine"),
    "ink-crossings": ("crossings", "-p lineart --fit engine"),
    "ink-crossings-frameless": ("crossings", "-p lineart --no-frame --fit engine"),
    "ink-palette": ("letters", "-p lineart --palette #204080,#ffeecc --fit engine"),
    "ink-layers": ("letters", "-p lineart --layers --fit engine"),
    "ink-transparent": ("transparent", "-p lineart --background #ffffff --fit engine"),
    "ink-engine-options": ("letters", "-p lineart --set ltres=2 --set pathomit=12"),
    "ink-engine-threshold": ("letters", "-p lineart --set brightnessthreshold=70"),
    "ink-colour": ("emblem", "--method ink -t 0.7"),
    # Flat.
    "flat-emblem": ("emblem", "-p logo --fit engine"),
    "flat-emblem-four": ("emblem", "-p logo -c 4 --fit engine"),
    "flat-emblem-plain": ("emblem", "-p logo --upsample 1"),
    "flat-badge": ("badge", "-p logo --fit engine"),
    "flat-badge-layers": ("badge", "-p logo --layers --fit engine"),
    "flat-badge-seamless": ("badge", "-p logo --no-seams --fit engine"),
    "flat-transparent": ("transparent", "-p logo --fit engine"),
    "flat-transparent-outlines": ("transparent", "-p logo --transparent --no-frame --fit engine"),
    "flat-background": ("transparent", "-p logo --background #ffe0c0 --fit engine"),
    "flat-indexed": ("indexed", "-p logo --fit engine"),
    "flat-icon": ("icon", "-p logo --min-path 0 --fit engine"),
    "flat-only-colour": ("emblem", "-p logo --palette #1e50a0,#faf0c8,#c8281e,white --only-color #1e50a0 --fit engine"),
    "flat-palette": ("emblem", "-p logo --palette #1e50a0,#faf0c8,#c8281e,white --fit engine"),
    "flat-palette-clear": ("transparent", "-p logo --palette red,blue,black --fit engine"),
    "flat-curve-tolerance": ("emblem", "-p logo -t 0.4 --curve-tolerance 1.5 --decimals 2"),
    "flat-noise": ("noise", "-p logo --fit engine"),
    "flat-one-colour": ("one-colour", "-p logo --fit engine"),
    "flat-engine-colours": ("emblem", "-p logo --set numberofcolors=5"),
    "flat-poster": ("hills", "-p poster"),
    "flat-poster-min-path": ("shaded", "-p poster --min-path 40"),
    # True shapes.
    "fair-soft": ("letters", "-p lineart"),
    "fair-one-bit": ("letters-one-bit", "-p lineart"),
    "fair-crossings": ("crossings", "-p lineart"),
    "fair-badge": ("badge", "-p logo"),
    "fair-badge-layers": ("badge", "-p logo --layers"),
    "fair-transparent": ("transparent", "-p logo"),
    "fair-indexed": ("indexed", "-p logo"),
    "fair-edges": ("badge", "-p logo --edges"),
    # Blend.
    "blend-shaded": ("shaded", "-p photo"),
    "blend-shaded-24": ("shaded", "-p photo -c 24"),
    "blend-hills": ("hills", "-p photo"),
    "blend-hills-layers": ("hills", "-p photo -c 8 --layers"),
    "blend-gradients": ("hills", "-p photo --gradients"),
    "blend-transparent": ("transparent", "-p photo"),
    "blend-cycles": ("shaded", "-p photo --set colorquantcycles=5 --set mincolorratio=0.02 --seed 9"),
    "blend-sampling": ("shaded", "-p photo --set colorsampling=1 -c 6"),
    "blend-blur": ("hills", "-p photo --set blurradius=2 --set blurdelta=40"),
    "blend-noise": ("noise", "-p photo --upsample 2"),
    # Raw.
    "raw-emblem": ("emblem", "--raw"),
    "raw-sampled": ("emblem", "--raw --set colorsampling=0 --set numberofcolors=6 --seed 4"),
    "raw-transparent": ("transparent", "--raw --set alphathreshold=100"),
    "raw-monochrome": ("letters", "--raw --set monochrome=1 -t 0.5"),
    # Whatever it looks like.
    "auto-scan": ("scan", ""),
    "auto-emblem": ("emblem", ""),
    "auto-shaded": ("shaded", ""),
    "auto-transparent": ("transparent", ""),
    "auto-page": ("page", ""),
    "auto-fax": ("fax", ""),
    "auto-icon": ("icon", ""),
}


def draw(program, case, folder):
    """Traces the case's picture; a dictionary of the drawings' bytes by format."""
    picture, options = CASES[case]
    outputs = {kind: os.path.join(folder, f"{case}.{kind}") for kind in ("svg", "json")}
    command = [program, os.path.join(GOLDEN, picture + ".png"), *options.split(), "--quiet"]
    for output in outputs.values():
        command += ["-o", output]
    subprocess.run(command, check=True)
    return {kind: open(output, "rb").read() for kind, output in outputs.items()}


class Golden(unittest.TestCase):
    def test_drawings_are_what_they_were(self):
        with tempfile.TemporaryDirectory() as folder:
            for case in CASES:
                with self.subTest(case=case):
                    for kind, drawn in draw(os.environ["ZTRACE"], case, folder).items():
                        with open(os.path.join(GOLDEN, f"{case}.{kind}"), "rb") as file:
                            kept = file.read()
                        if drawn != kept:
                            place = next((i for i, pair in enumerate(zip(drawn, kept)) if pair[0] != pair[1]),
                                         min(len(drawn), len(kept)))
                            self.fail(f"{case}.{kind}: {len(drawn)} bytes, {len(kept)} kept; from byte {place} "
                                      f"{drawn[place:place + 60]!r} instead of {kept[place:place + 60]!r}")


if __name__ == "__main__":
    if sys.argv[1:] == ["--update"]:
        for name in CASES:
            draw(os.environ["ZTRACE"], name, GOLDEN)
    else:
        unittest.main()
