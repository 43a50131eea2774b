# (c) the ztrace developers. Licence: see LICENSE.
"""What the drawings of pictures.py reach at the least: no measure of test_quality.py may be over its limit.

To tighten: when a change makes drawings better, the test names the limits that are too wide. Write them anew with

    ZTRACE=build/dev/cli/ztrace tests/quality/test_quality.py --propose > limits.new && mv limits.new tests/quality/limits.py

and look at the difference before it is committed: a limit that went up is a loss, which the commit has to argue for.

colour      mean distance in Oklab over the picture, in hundredths
detail      percentage of thin detail (15 L from the median of 7 x 7) that keeps less than half its contrast
regions     areas of one colour, thin lines and dots of 8 pixels and more that are not there
uncovered   opaque pixels covered by less than 98 %, in thousandths; uncovered4: the same, drawn at four times the size
hairlines   the same without the ground that is painted below all areas
joints      changes of direction of more than 12 degrees a 100 pixels of outline
numbers     coordinates written
"""
LIMITS = {
    "discs": {
        "colour": 0.448, "detail": 3.3, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.03, "joints": 6.233, "numbers": 784
    },
    "lines": {
        "colour": 1.014, "detail": 3.6, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.79, "joints": 8.449, "numbers": 1308
    },
    "letters": {
        "colour": 1.589, "detail": 6.2, "regions": 12, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.39, "joints": 22.032, "numbers": 3079
    },
    "logo": {
        "colour": 2.214, "detail": 13.2, "regions": 5, "uncovered": 5.90,
        "uncovered4": 0.45, "hairlines": 0.45, "joints": 8.564, "numbers": 1251
    },
    "logo-layers": {
        "colour": 2.448, "detail": 14.5, "regions": 4, "uncovered": 2.98,
        "uncovered4": 0.03, "hairlines": 0.03, "joints": 8.564, "numbers": 1251
    },
    "icon": {
        "colour": 2.152, "detail": 2.3, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 8.503, "numbers": 82
    },
    "marks": {
        "colour": 0.607, "detail": 6.4, "regions": 2, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 2.93, "joints": 7.028, "numbers": 323
    },
    "glass": {
        "colour": 1.201, "detail": 6.6, "regions": 0, "uncovered": 4.79,
        "uncovered4": 0.18, "hairlines": 0.18, "joints": 13.621, "numbers": 661
    },
    "map": {
        "colour": 1.775, "detail": 18.3, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 1.62, "joints": 15.502, "numbers": 4903
    },
    "map-layers": {
        "colour": 1.763, "detail": 14.5, "regions": 9, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.06, "joints": 15.502, "numbers": 4903
    },
    "dialog": {
        "colour": 1.905, "detail": 10.3, "regions": 24, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 9.34, "joints": 23.690, "numbers": 3954
    },
    "cartoon": {
        "colour": 1.583, "detail": 2.5, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.85, "joints": 9.086, "numbers": 1188
    },
    "cartoon-few": {
        "colour": 1.932, "detail": 5.7, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.85, "joints": 10.360, "numbers": 1247
    },
    "hills-flat": {
        "colour": 0.958, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.35, "joints": 4.243, "numbers": 484
    },
    "shaded-flat": {
        "colour": 2.859, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 4.43, "joints": 41.699, "numbers": 3338
    },
    "shaded": {
        "colour": 1.131, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 1.82, "joints": 17.109, "numbers": 5449
    },
    "shaded-few": {
        "colour": 2.535, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.19, "joints": 16.975, "numbers": 1643
    },
    "hills": {
        "colour": 1.314, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 11.50, "joints": 3.586, "numbers": 337
    },
    "one-bit": {
        "colour": 4.275, "detail": 12.5, "regions": 21, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 8.26, "joints": 9.503, "numbers": 1355
    },
    "one-bit-fine": {
        "colour": 2.225, "detail": 3.1, "regions": 3, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.06, "joints": 15.957, "numbers": 3032
    },
    "grey-page": {
        "colour": 2.950, "detail": 3.4, "regions": 28, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.49, "joints": 16.652, "numbers": 2512
    },
}
