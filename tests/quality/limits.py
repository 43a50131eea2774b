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
        "colour": 0.389, "detail": 1.0, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 5.816, "numbers": 1951
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
        "colour": 0.155, "detail": 0.1, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 2.803, "numbers": 226
    },
    "glass": {
        "colour": 0.249, "detail": 0.4, "regions": 0, "uncovered": 0.24,
        "uncovered4": 1.09, "hairlines": 1.09, "joints": 5.573, "numbers": 584
    },
    "window": {
        "colour": 0.446, "detail": 0.8, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 4.388, "numbers": 1155
    },
    "map": {
        "colour": 0.482, "detail": 1.2, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 4.978, "numbers": 2442
    },
    "map-layers": {
        "colour": 0.578, "detail": 2.8, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 32.72, "joints": 4.978, "numbers": 2442
    },
    "dialog": {
        "colour": 0.471, "detail": 3.7, "regions": 1, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 12.517, "numbers": 3063
    },
    "cartoon": {
        "colour": 1.073, "detail": 1.5, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.183, "numbers": 359
    },
    "cartoon-few": {
        "colour": 1.57, "detail": 3.7, "regions": 8, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.573, "numbers": 356
    },
    "hills-flat": {
        "colour": 0.844, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.658, "numbers": 322
    },
    "shaded-flat": {
        "colour": 2.805, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 22.996, "numbers": 2367
    },
    "shaded": {
        "colour": 1.059, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 15.939, "numbers": 4318
    },
    "shaded-few": {
        "colour": 2.510, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 18.010, "numbers": 1461
    },
    "hills": {
        "colour": 1.11, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 2.482, "numbers": 313
    },
    "one-bit": {
        "colour": 2.486, "detail": 3.2, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 2.936, "numbers": 1008
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
        "colour": 1.636, "detail": 6.4, "regions": 13, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.39, "joints": 21.806, "numbers": 3022
    },
    "map-engine": {
        "colour": 1.533, "detail": 19.2, "regions": 5, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 2.01, "joints": 15.530, "numbers": 4784
    },
    "dialog-engine": {
        "colour": 1.950, "detail": 7.0, "regions": 28, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 9.34, "joints": 22.812, "numbers": 3748
    },
    "grey-page-engine": {
        "colour": 2.950, "detail": 3.4, "regions": 28, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.49, "joints": 16.652, "numbers": 2512
    },
}
