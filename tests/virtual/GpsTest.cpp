#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "TestModel.h"
#include "support/Files.h"
#include "virtual/GPSTrack.h"
#include "virtual/GpsPosition.h"

namespace trelis {
namespace {

using test::kStart;
using test::Messages;
using test::TestModel;

struct Fix {
    double latitude;
    double northSouth;
    double longitude;
    double eastWest;
};

// Positions once a second on an interface.
void feedPositions(TestModel& model, const std::vector<Fix>& fixes, const std::string& iface) {
    std::uint64_t time = kStart;
    for (std::size_t i = 0; i <= fixes.size(); ++i, time += 1000) {
        const Fix& fix = fixes[std::min(i, fixes.size() - 1)];
        const auto add = [&](const char* message, const char* name, double value) {
            const auto signal = model.input(name, iface, message);
            signal->addSample(time, value);
            if (i == fixes.size()) signal->flushSamples();
        };
        add("GPS_POS", "lat", fix.latitude);
        add("GPS_POS", "N_S", fix.northSouth);
        add("GPS_POS", "long", fix.longitude);
        add("GPS_POS", "E_W", fix.eastWest);
        add("GPS_MOT", "alt", 10 + static_cast<double>(i));
        add("GPS_MOT", "bearing", 90);
        add("GPS_MOT", "speed", 36);
    }
}

TEST(GpsPositionTest, unpacksDegreesAndMinutes) {
    EXPECT_DOUBLE_EQ(unpackDegrees(-573000000), -57.5);
    EXPECT_NEAR(unpackDegrees(591234567), 59 + 1234567.0 / 6000000, 1e-9);
    const auto packed = [](double) { return true; };
    EXPECT_EQ(decodePosition({573000000, 1, 120000000, 0}, packed).latitude, -57.5);
    const auto other = decodePosition({573000000, 2, 120000000, 1}, packed);
    EXPECT_EQ(other.latitude, 57.5);
    EXPECT_EQ(other.longitude, -12);
}

TEST(GeofenceTest, tellsInsideFromOutside) {
    struct Case {
        const char* shape;
        bool legacy;
        Fix fix;
        double inside;
    };
    const char* square = "type=square\ntopleft=58;11\nbottomright=57;12";
    const char* circle = "type=circle\ncenter=57.5;12.0\nradius=1000";
    for (const auto& [shape, legacy, fix, inside] : {
             Case{circle, false, {57.5, 0, 12, 0}, 1},
             {circle, false, {57.5 + 900 / 111320.0, 0, 12, 0}, 1},
             {circle, false, {57.5 + 1100 / 111320.0, 0, 12, 0}, 0},
             {circle, false, {57.5, 1, 12, 0}, 0},
             {circle, false, {57.5, 0, 12, 1}, 0},
             // Packed positions are known by their size, and always taken so in legacy definitions.
             {circle, false, {573000000, 0, 120000000, 0}, 1},
             {circle, true, {573000000, 0, 120000000, 0}, 1},
             {circle, true, {57.5, 0, 12, 0}, 0},
             {square, false, {57.5, 0, 11.5, 0}, 1},
             {square, false, {57.5, 0, 12.5, 0}, 0},
             {square, false, {58, 0, 11.5, 0}, 0},  // the edge is outside
             {"type=square\ntopleft=57;12\nbottomright=58;11", false, {57.5, 0, 11.5, 0}, 0},
             {"type=circle\ncenter=-57.5;-12\nradius=0", false, {57.5, 1, 12, 1}, 1},
         }) {
        TestModel model;
        model.legacyGps = legacy;
        feedPositions(model, {fix, fix}, legacy ? "Can" : "Logger");
        const auto signal =
            model.compute(std::string("method=geofence\nstep=1000\noffs=2\n") + shape);
        EXPECT_EQ(signal->valueAt(kStart), inside + 2) << shape << " " << fix.latitude;
    }
}

TEST(GeofenceTest, needsPositions) {
    const std::string fence = test::linesOf("geofence type=circle center=1;2 radius=1");
    TestModel model;
    EXPECT_EQ(model.failure(fence), "Can't find message with name GPS_POS");
    model.legacyGps = true;
    model.interfaces.erase(0);
    EXPECT_EQ(model.failure(fence), "Can't find interface with id 0");
    EXPECT_FALSE(GPSTrack::create(model.virtualMessage));
}

TEST(GpsTrackTest, collectsPointsFromTheFirstFixOn) {
    TestModel model;
    feedPositions(model, {{0, 0, 12, 0}, {57, 0, 12, 0}, {57.1, 0, 12.2, 0}, {57, 0, 0, 0}},
                  "Logger");
    const auto track = GPSTrack::create(model.virtualMessage);
    ASSERT_TRUE(track);
    EXPECT_TRUE(track->hidden);
    EXPECT_EQ(virtualRegistry(model).allVirtualSignals.back(), track);
    track->calculate();
    ASSERT_EQ(track->points.size(), 2U);
    EXPECT_EQ(track->points[0].time, kStart + 1000);
    EXPECT_EQ(track->points[0].x, 0);
    EXPECT_EQ(track->origin.latitude, 57);
    EXPECT_NEAR(track->points[1].y, -6.000721, 1e-6);
    EXPECT_NEAR(track->points[1].x, 0.2 * 30.053965 * (0.544639035 + 0.543174448), 1e-6);
    EXPECT_EQ(track->points[1].altitude, 12);
    EXPECT_EQ(track->points[1].speed, 36);
    EXPECT_EQ(track->minY, track->points[1].y);
    EXPECT_EQ(track->maxX, track->points[1].x);
    EXPECT_EQ(track->lastPointTime, kStart + 2000);
    EXPECT_TRUE(track->hasData && track->samples().empty());
}

TEST(GpsTrackTest, exportsGpx) {
    TestModel model;
    feedPositions(model, {{57, 1, 12.25, 0}, {57.5, 0, 12, 1}, {57.75, 0, 12, 0}}, "Logger");
    const auto track = GPSTrack::create(model.virtualMessage);
    ASSERT_TRUE(track);
    track->calculate();
    const test::Folder folder;
    const std::string path = folder / "track.gpx";
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");  // where there is one, a comma must not get in
    static_cast<void>(TestModel::messages());
    EXPECT_TRUE(track->exportGpx(path, kStart, kStart + 1000));
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_EQ(TestModel::messages(), Messages{"GPS Track created!"});
    EXPECT_EQ(test::contentOf(path),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<gpx version=\"1.1\" >\n\t<metadata>\n"
              "\t\t<name>Exported GPS track</name>\n"
              "\t\t<desc>Exported from Tarnvale Sigmira</desc>\n\t</metadata>\n\t<trk>\n"
              "\t\t<name>Track</name>\n\t\t<desc></desc>\n\t\t<trkseg>\n"
              "\t\t\t<trkpt lat=\"-57.00000000\" lon=\"12.25000000\">\n"
              "\t\t\t\t<ele>10.00</ele>\n\t\t\t\t<speed>10.00</speed>\n"
              "\t\t\t\t<time>2020-09-13T12:26:40</time>\n\t\t\t</trkpt>\n"
              "\t\t\t<trkpt lat=\"57.50000000\" lon=\"-12.00000000\">\n"
              "\t\t\t\t<ele>11.00</ele>\n\t\t\t\t<speed>10.00</speed>\n"
              "\t\t\t\t<time>2020-09-13T12:26:41</time>\n\t\t\t</trkpt>\n"
              "\t\t</trkseg>\n\t</trk>\n</gpx>\n");
    // What others read in it; both tools come with the set-up.
    const std::string read = folder / "read";
    const std::string xmllint = "xmllint --xpath 'count(//trkpt)' " + path + " > " + read;
    EXPECT_EQ(std::system(xmllint.c_str()), 0);
    EXPECT_EQ(test::contentOf(read), "2\n");
    const std::string gpsbabel = "gpsbabel -t -i gpx -f " + path + " -o unicsv -F " + read;
    EXPECT_EQ(std::system(gpsbabel.c_str()), 0);
    EXPECT_NE(test::contentOf(read).find("-57.000000,12.250000,10.0,10.00,2020/09/13,12:26:40"),
              std::string::npos);

    EXPECT_FALSE(track->exportGpx("/nowhere/track.gpx", 0, ~std::uint64_t{0}));
    track->points[0].time = ~std::uint64_t{0};
    static_cast<void>(TestModel::messages());
    EXPECT_TRUE(track->exportGpx(path, 0, ~std::uint64_t{0}));
    EXPECT_EQ(TestModel::messages().front(), "Failed to get date for ruler");
}

}  // namespace
}  // namespace trelis
