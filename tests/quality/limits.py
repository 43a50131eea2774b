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
        "colour": 0.196, "detail": 1.2, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 0.192, "numbers": 161
    },
    "lines": {
        "colour": 0.611, "detail": 1.6, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 4.028, "numbers": 464
    },
    "letters": {
        "colour": 0.532, "detail": 1.5, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 6.897, "numbers": 2249
    },
    "logo": {
        "colour": 0.429, "detail": 3.8, "regions": 1, "uncovered": 0.01,
        "uncovered4": 0.16, "hairlines": 0.16, "joints": 1.448, "numbers": 472
    },
    "logo-layers": {
        "colour": 0.637, "detail": 3.8, "regions": 1, "uncovered": 101.16,
        "uncovered4": 26.05, "hairlines": 26.05, "joints": 1.475, "numbers": 477
    },
    "icon": {
        "colour": 0.383, "detail": 1.9, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.509, "numbers": 64
    },
    "marks": {
        "colour": 0.222, "detail": 0.1, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.138, "numbers": 204
    },
    "glass": {
        "colour": 0.978, "detail": 0.6, "regions": 0, "uncovered": 7.07,
        "uncovered4": 2.52, "hairlines": 2.52, "joints": 5.081, "numbers": 327
    },
    "map": {
        "colour": 0.966, "detail": 2.1, "regions": 5, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 8.392, "numbers": 3232
    },
    "map-layers": {
        "colour": 0.745, "detail": 4.3, "regions": 5, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 32.25, "joints": 8.635, "numbers": 3285
    },
    "dialog": {
        "colour": 0.725, "detail": 5.2, "regions": 1, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 12.389, "numbers": 3608
    },
    "cartoon": {
        "colour": 1.078, "detail": 1.5, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.294, "numbers": 385
    },
    "cartoon-few": {
        "colour": 1.594, "detail": 4.1, "regions": 8, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 1.797, "numbers": 402
    },
    "hills-flat": {
        "colour": 0.900, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 2.057, "numbers": 821
    },
    "shaded-flat": {
        "colour": 2.841, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 26.764, "numbers": 3151
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
        "colour": 2.619, "detail": 3.2, "regions": 6, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 2.648, "numbers": 1023
    },
    "one-bit-fine": {
        "colour": 2.225, "detail": 3.1, "regions": 3, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.06, "joints": 15.957, "numbers": 3032
    },
    "grey-page": {
        "colour": 0.973, "detail": 1.0, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 3.559, "numbers": 1413
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
