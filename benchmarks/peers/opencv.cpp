// (c) the ztrace developers. Licence: see LICENSE.
//
// OpenCV on ready-made masks: peer_opencv ROUNDS MASK.pbm...
//
// Prints, a line a round, the processor seconds of findContours (all contours, straight runs
// compressed) and approxPolyDP (1 pixel, closed) over all masks, then the number of contours and of
// points. Reading the masks is not timed. Single thread.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

namespace {

double processorSeconds()
{
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// A raw PBM as bytes 0 and 255; empty when it is none.
cv::Mat readMask(const char *path)
{
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    int width = 0;
    int height = 0;
    file >> magic >> width >> height;
    file.get();
    if (!file || magic != "P4" || width < 1 || height < 1)
        return cv::Mat();
    cv::Mat mask(height, width, CV_8UC1);
    std::vector<char> packed((size_t(width) + 7) / 8);
    for (int y = 0; y < height; ++y) {
        file.read(packed.data(), std::streamsize(packed.size()));
        uchar *row = mask.ptr<uchar>(y);
        for (int x = 0; x < width; ++x)
            row[x] = (packed[size_t(x) / 8] >> (7 - x % 8)) & 1 ? 255 : 0;
    }
    return file ? mask : cv::Mat();
}

} // namespace

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    const int rounds = argc > 2 ? std::atoi(argv[1]) : 0;
    if (rounds < 1) {
        std::fprintf(stderr, "usage: peer_opencv ROUNDS MASK.pbm...\n");
        return 2;
    }
    for (int round = 0; round < rounds; ++round) {
        double seconds = 0;
        size_t contourCount = 0;
        size_t pointCount = 0;
        for (int i = 2; i < argc; ++i) {
            const cv::Mat mask = readMask(argv[i]);
            if (mask.empty()) {
                std::fprintf(stderr, "peer_opencv: not a raw PBM: %s\n", argv[i]);
                return 1;
            }
            const double start = processorSeconds();
            std::vector<std::vector<cv::Point>> contours;
            cv::findContours(mask, contours, cv::RETR_LIST, cv::CHAIN_APPROX_SIMPLE);
            std::vector<cv::Point> simple;
            for (const std::vector<cv::Point> &contour : contours) {
                cv::approxPolyDP(contour, simple, 1.0, true);
                pointCount += simple.size();
            }
            seconds += processorSeconds() - start;
            contourCount += contours.size();
        }
        std::printf("%.6f %zu %zu\n", seconds, contourCount, pointCount);
    }
    return 0;
}
