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
        "colour": 0.308, "detail": 1.8, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 0.186, "numbers": 165
    },
    "lines": {
        "colour": 0.647, "detail": 2.3, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 4.017, "numbers": 485
    },
    "letters": {
        "colour": 0.881, "detail": 2.6, "regions": 2, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 7.690, "numbers": 2703
    },
    "logo": {
        "colour": 0.46, "detail": 3.9, "regions": 2, "uncovered": 0.54,
        "uncovered4": 0.16, "hairlines": 0.16, "joints": 1.489, "numbers": 494
    },
    "logo-layers": {
        "colour": 2.382, "detail": 11.4, "regions": 4, "uncovered": 0.37,
        "uncovered4": 0.04, "hairlines": 0.04, "joints": 1.489, "numbers": 494
    },
    "icon": {
        "colour": 0.951, "detail": 1.9, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.509, "numbers": 64
    },
    "marks": {
        "colour": 0.308, "detail": 0.1, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.156, "numbers": 202
    },
    "glass": {
        "colour": 1.132, "detail": 1.0, "regions": 0, "uncovered": 7.20,
        "uncovered4": 2.50, "hairlines": 2.50, "joints": 4.560, "numbers": 312
    },
    "map": {
        "colour": 1.04, "detail": 2.3, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.48, "joints": 8.169, "numbers": 3124
    },
    "map-layers": {
        "colour": 1.520, "detail": 14.0, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 3.31, "joints": 8.169, "numbers": 3124
    },
    "dialog": {
        "colour": 1.192, "detail": 6.4, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 13.100, "numbers": 4112
    },
    "cartoon": {
        "colour": 1.451, "detail": 2.0, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.256, "numbers": 392
    },
    "cartoon-few": {
        "colour": 1.950, "detail": 4.3, "regions": 8, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.773, "numbers": 421
    },
    "hills-flat": {
        "colour": 0.894, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.946, "numbers": 276
    },
    "shaded-flat": {
        "colour": 2.857, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 1.77, "joints": 24.858, "numbers": 2872
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
        "colour": 2.618, "detail": 3.3, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 2.679, "numbers": 1010
    },
    "one-bit-fine": {
        "colour": 2.225, "detail": 3.1, "regions": 3, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.06, "joints": 15.957, "numbers": 3032
    },
    "grey-page": {
        "colour": 1.097, "detail": 1.0, "regions": 5, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 3.415, "numbers": 1337
    },
    "letters-engine": {
        "colour": 1.648, "detail": 6.3, "regions": 14, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.39, "joints": 23.128, "numbers": 3267
    },
    "map-engine": {
        "colour": 1.765, "detail": 18.3, "regions": 5, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 2.08, "joints": 16.067, "numbers": 4970
    },
    "dialog-engine": {
        "colour": 1.721, "detail": 7.9, "regions": 18, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 9.34, "joints": 25.191, "numbers": 4448
    },
    "grey-page-engine": {
        "colour": 2.950, "detail": 3.4, "regions": 28, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.49, "joints": 16.652, "numbers": 2512
    },
}
