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
        "colour": 0.571, "detail": 23.6, "regions": 2, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.03, "joints": 6.443, "numbers": 719
    },
    "lines": {
        "colour": 0.964, "detail": 3.5, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.79, "joints": 8.441, "numbers": 1308
    },
    "letters": {
        "colour": 1.706, "detail": 7.6, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.39, "joints": 28.401, "numbers": 4699
    },
    "logo": {
        "colour": 2.252, "detail": 18.7, "regions": 5, "uncovered": 6.85,
        "uncovered4": 1.39, "hairlines": 1.39, "joints": 8.589, "numbers": 1233
    },
    "logo-layers": {
        "colour": 2.507, "detail": 20.3, "regions": 4, "uncovered": 3.93,
        "uncovered4": 0.96, "hairlines": 0.96, "joints": 8.589, "numbers": 1233
    },
    "icon": {
        "colour": 2.152, "detail": 2.3, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 0.01, "joints": 8.503, "numbers": 82
    },
    "marks": {
        "colour": 0.607, "detail": 16.5, "regions": 3, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 2.93, "joints": 7.600, "numbers": 380
    },
    "glass": {
        "colour": 1.189, "detail": 7.6, "regions": 0, "uncovered": 4.79,
        "uncovered4": 0.18, "hairlines": 0.18, "joints": 14.516, "numbers": 727
    },
    "map": {
        "colour": 1.439, "detail": 18.2, "regions": 1, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 2.96, "joints": 17.994, "numbers": 5533
    },
    "map-layers": {
        "colour": 1.457, "detail": 14.9, "regions": 3, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.86, "joints": 17.994, "numbers": 5533
    },
    "dialog": {
        "colour": 1.488, "detail": 8.3, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 9.34, "joints": 26.600, "numbers": 4627
    },
    "cartoon": {
        "colour": 1.806, "detail": 13.2, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 3.75, "joints": 15.828, "numbers": 1698
    },
    "cartoon-few": {
        "colour": 2.021, "detail": 13.7, "regions": 8, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 3.75, "joints": 14.464, "numbers": 1571
    },
    "hills-flat": {
        "colour": 0.952, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.39, "joints": 3.979, "numbers": 484
    },
    "shaded-flat": {
        "colour": 3.117, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 4.81, "joints": 43.543, "numbers": 3346
    },
    "shaded": {
        "colour": 1.631, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 6.50, "joints": 35.774, "numbers": 9168
    },
    "shaded-few": {
        "colour": 3.327, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 5.87, "joints": 30.174, "numbers": 2779
    },
    "hills": {
        "colour": 1.276, "regions": 0, "uncovered": 0.01,
        "uncovered4": 0.01, "hairlines": 10.93, "joints": 4.588, "numbers": 378
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
