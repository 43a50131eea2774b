// (c) the ztrace developers. Licence: see LICENSE.
//
// Which instruction set the fast kernels run with: what is reported is what the build, the machine
// and the environment say, and the two builds of the inner loops are two and agree.
#include "engine/kernels/assign.h"
#include "engine/kernels/assign_tiles.h"
#include "engine/kernels/blur_rows.h"
#include "engine/kernels/cpu.h"
#include "engine/kernels/gaussian.h"
#include "support/Pictures.h"

#include <QtTest>

using ztrace::Random;

namespace {

#ifdef ZTRACE_HAVE_AVX2
bool machineHasAvx2()
{
    return __builtin_cpu_supports("avx2");
}
#endif

} // namespace

class tst_Cpu : public QObject
{
    Q_OBJECT

private slots:
    void choiceFollowsBuildMachineAndEnvironment();
    void choiceIsMadeOnce();
    void bothBlurLoopsAgree();
    void bothAssignLoopsAgree();
};

void tst_Cpu::choiceFollowsBuildMachineAndEnvironment()
{
    const bool turnedOff = qEnvironmentVariableIsSet("ZTRACE_NO_AVX2");
#ifdef ZTRACE_HAVE_AVX2
    const bool expected = machineHasAvx2() && !turnedOff;
#else
    const bool expected = false;
#endif
    qInfo("kernels run with %s%s", expected ? "AVX2" : "what any machine has",
          turnedOff ? " (ZTRACE_NO_AVX2 is set)" : "");
    QCOMPARE(ztrace::useAvx2(), expected);
}

void tst_Cpu::choiceIsMadeOnce()
{
    const bool before = ztrace::useAvx2();
    const QByteArray value = qgetenv("ZTRACE_NO_AVX2");
    const bool wasSet = qEnvironmentVariableIsSet("ZTRACE_NO_AVX2");
    if (wasSet)
        qunsetenv("ZTRACE_NO_AVX2");
    else
        qputenv("ZTRACE_NO_AVX2", "1");
    QCOMPARE(ztrace::useAvx2(), before);
    if (wasSet)
        qputenv("ZTRACE_NO_AVX2", value);
    else
        qunsetenv("ZTRACE_NO_AVX2");
}

void tst_Cpu::bothBlurLoopsAgree()
{
#ifdef ZTRACE_HAVE_AVX2
    if (!machineHasAvx2())
        QSKIP("this machine has no AVX2");
    QVERIFY(ztrace::kBlurAvx2.weighRow != ztrace::kBlurBaseline.weighRow);
    QVERIFY(ztrace::kBlurAvx2.keepSmallChanges != ztrace::kBlurBaseline.keepSmallChanges);
    Random random(ztrace::testSeed());
    for (int round = 0; round < 2000; ++round) {
        const int taps = random.between(1, ztrace::kMostTaps);
        const size_t count = static_cast<size_t>(random.between(1, 70));
        std::vector<signed char> samples(count * ztrace::kMostTaps);
        const int spread = random.oneIn(3) ? 1 : 256;
        for (signed char &sample : samples)
            sample = static_cast<signed char>(random.below(spread) - spread / 2);
        ztrace::TapRow row = ztrace::TapRow();
        row.taps = taps;
        for (int k = 0; k < taps; ++k) {
            row.tap[k] = samples.data() + count * static_cast<size_t>(k);
            row.weight[k] = ztrace::gaussianKernel(5)[k];
            row.weightSum += row.weight[k];
        }
        std::vector<signed char> fast(count);
        std::vector<signed char> baseline(count);
        ztrace::kBlurAvx2.weighRow(row, fast.data(), count);
        ztrace::kBlurBaseline.weighRow(row, baseline.data(), count);
        QVERIFY(fast == baseline);
    }
#else
    QSKIP("this build has the kernels of any machine alone");
#endif
}

void tst_Cpu::bothAssignLoopsAgree()
{
#ifdef ZTRACE_HAVE_AVX2
    if (!machineHasAvx2())
        QSKIP("this machine has no AVX2");
    QVERIFY(ztrace::assignTilesAvx2 != ztrace::assignTilesBaseline);
    Random random(ztrace::testSeed() + 1);
    for (int round = 0; round < 300; ++round) {
        const int width = random.between(1, 30);
        const int height = random.between(1, 30);
        const int entries = random.between(1, 40);
        const int padded
            = (entries + ztrace::kEntryBlock - 1) / ztrace::kEntryBlock * ztrace::kEntryBlock;
        const size_t blocks = static_cast<size_t>(padded);
        std::vector<unsigned char> pixels(static_cast<size_t>(4 * width * height));
        for (unsigned char &byte : pixels)
            byte = static_cast<unsigned char>(random.below(256));
        std::vector<int16_t> entry[4];
        ztrace::TileJob job = ztrace::TileJob();
        for (int c = 0; c < 4; ++c) {
            entry[c].assign(blocks, ztrace::kPaddingChannel);
            for (int k = 0; k < entries; ++k)
                entry[c][static_cast<size_t>(k)] = static_cast<int16_t>(random.below(256));
            job.entry[c] = entry[c].data();
        }
        std::vector<int16_t> lower(blocks);
        std::vector<int16_t> upper(blocks);
        std::vector<int> candidates(blocks + 1);
        job.pixels = pixels.data();
        job.width = width;
        job.height = height;
        job.entries = entries;
        job.padded = padded;
        job.lower = lower.data();
        job.upper = upper.data();
        job.candidates = candidates.data();
        job.cellBytes = 2;
        job.stride = static_cast<size_t>(width) + 3;

        // Cells and guard alike start with a value that is no index.
        std::vector<uint16_t> cells[2];
        std::vector<ztrace::ColourSum> sums[2];
        for (int form = 0; form < 2; ++form) {
            cells[form].assign(job.stride * static_cast<size_t>(height) + 32, 0xABCD);
            sums[form].assign(static_cast<size_t>(entries), ztrace::ColourSum());
            job.cells = cells[form].data();
            job.sums = sums[form].data();
            (form ? ztrace::assignTilesAvx2 : ztrace::assignTilesBaseline)(job);
            for (size_t i = 0; i < cells[form].size(); ++i) {
                const size_t row = i / job.stride;
                const bool isCell = row < static_cast<size_t>(height)
                    && i % job.stride < static_cast<size_t>(width);
                QCOMPARE(cells[form][i] == 0xABCD, !isCell);
            }
        }
        QVERIFY(cells[0] == cells[1]);
        for (int k = 0; k < entries; ++k) {
            const ztrace::ColourSum &a = sums[0][static_cast<size_t>(k)];
            const ztrace::ColourSum &b = sums[1][static_cast<size_t>(k)];
            QCOMPARE(a.count, b.count);
            for (int c = 0; c < 4; ++c)
                QCOMPARE(a.channel[c], b.channel[c]);
        }
    }
#else
    QSKIP("this build has the kernels of any machine alone");
#endif
}

QTEST_GUILESS_MAIN(tst_Cpu)
#include "tst_cpu.moc"
