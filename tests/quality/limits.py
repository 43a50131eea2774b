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
        "colour": 0.154, "detail": 1.0, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 0.174, "numbers": 201
    },
    "lines": {
        "colour": 0.249, "detail": 0.9, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 3.464, "numbers": 421
    },
    "letters": {
        "colour": 0.406, "detail": 1.1, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 5.924, "numbers": 1967
    },
    "logo": {
        "colour": 0.400, "detail": 3.1, "regions": 1, "uncovered": 0.01,
        "uncovered4": 0.15, "hairlines": 0.15, "joints": 1.564, "numbers": 533
    },
    "logo-layers": {
        "colour": 0.625, "detail": 3.5, "regions": 1, "uncovered": 92.40,
        "uncovered4": 23.61, "hairlines": 23.61, "joints": 1.560, "numbers": 538
    },
    "icon": {
        "colour": 0.374, "detail": 1.9, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.508, "numbers": 64
    },
    "marks": {
        "colour": 0.216, "detail": 0.1, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.179, "numbers": 206
    },
    "glass": {
        "colour": 0.249, "detail": 0.4, "regions": 0, "uncovered": 0.24,
        "uncovered4": 1.09, "hairlines": 1.09, "joints": 5.574, "numbers": 584
    },
    "window": {
        "colour": 0.504, "detail": 1.4, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 4.914, "numbers": 1274
    },
    "map": {
        "colour": 0.482, "detail": 1.2, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 5.160, "numbers": 2508
    },
    "map-layers": {
        "colour": 0.578, "detail": 2.8, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 32.96, "joints": 5.166, "numbers": 2508
    },
    "dialog": {
        "colour": 0.526, "detail": 4.3, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 13.755, "numbers": 3175
    },
    "cartoon": {
        "colour": 1.073, "detail": 1.5, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.183, "numbers": 359
    },
    "cartoon-few": {
        "colour": 1.570, "detail": 3.7, "regions": 8, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.573, "numbers": 356
    },
    "hills-flat": {
        "colour": 0.844, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.658, "numbers": 322
    },
    "shaded-flat": {
        "colour": 2.805, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 22.996, "numbers": 2369
    },
    "shaded": {
        "colour": 1.059, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 15.939, "numbers": 4318
    },
    "shaded-few": {
        "colour": 2.510, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 18.231, "numbers": 1498
    },
    "hills": {
        "colour": 1.110, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 2.313, "numbers": 296
    },
    "one-bit": {
        "colour": 2.571, "detail": 3.3, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 2.780, "numbers": 1008
    },
    "one-bit-fine": {
        "colour": 2.225, "detail": 3.1, "regions": 3, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.06, "joints": 15.957, "numbers": 3032
    },
    "grey-page": {
        "colour": 0.875, "detail": 0.6, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 3.757, "numbers": 1339
    },
    "letters-engine": {
        "colour": 1.636, "detail": 6.4, "regions": 12, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.39, "joints": 21.963, "numbers": 3052
    },
    "map-engine": {
        "colour": 1.533, "detail": 19.2, "regions": 5, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 2.01, "joints": 15.662, "numbers": 4831
    },
    "dialog-engine": {
        "colour": 1.894, "detail": 7.7, "regions": 24, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 9.34, "joints": 24.196, "numbers": 4085
    },
    "grey-page-engine": {
        "colour": 2.950, "detail": 3.4, "regions": 28, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.49, "joints": 16.652, "numbers": 2512
    },
}
