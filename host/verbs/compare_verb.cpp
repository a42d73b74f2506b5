// SPDX-License-Identifier: Apache-2.0
#include "host/compare/compare_job.h"
#include "host/figures.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

namespace {

std::string withShare(const Difference& difference, double distance) {
    return shortNumber(distance) + " (" + shortNumber(100.0 * difference.share(distance)) +
           " % of the bounding box)";
}

std::string figures(const Difference& difference, const char* unit) {
    if (difference.points == 0) return "no points to compare\n";
    if (difference.unlike == 0) return "all " + std::to_string(difference.points) + " points the same\n";
    std::string text = "largest difference " + withShare(difference, difference.largest) + ", at point " +
                       std::to_string(difference.worstPoint) + " of " + unit + " " +
                       std::to_string(difference.worstFrame) + "\n";
    text += "root mean square   " + withShare(difference, difference.rms) + "\n";
    text += "99.9 % of points within " + withShare(difference, difference.quantile) + "\n";
    text +=
        counted(difference.unlike, "point") + " of " + std::to_string(difference.points) + " not the same\n";
    if (difference.broken) text += counted(difference.broken, "point") + " finite on one side only\n";
    if (difference.brokenInBoth)
        text += counted(difference.brokenInBoth, "point") + " not finite on both sides, left out\n";
    return text;
}

std::vector<std::string> meantLines(const CompareReport& report) {
    std::vector<std::string> lines = report.meant;
    if (!report.processorToDevice) return lines;
    lines.push_back("the GPU calculates in single precision, the CPU in double");
    if (report.weighted)
        lines.push_back(counted(report.weighted, "point") +
                        " with a weight of their own between 0 and 1: a factor on the GPU only");
    if (report.threshold)
        lines.push_back(
            counted(report.threshold, "point") +
            " that a block moves by at most 0.001: the GPU leaves that out, the CPU below 0.00001");
    return lines;
}

std::string summary(const CompareReport& report) {
    std::string text = oneLine(report.first + "  against  " + report.second + ", " +
                               counted(report.all.frames, report.unit));
    text += figures(report.all, report.unit);
    const std::vector<std::string> meant = meantLines(report);
    for (const std::string& line : meant) text += oneLine("meant to differ: " + line);
    if (report.weighted || report.threshold || (report.processorToDevice && report.meant.size()))
        text += oneLine("without those points: largest difference " +
                        withShare(report.judged, report.judged.largest) + " over " +
                        counted(report.judged.points, "point"));
    for (const std::string& line : report.answers) text += oneLine(line);
    for (const std::string& line : report.failures) text += oneLine(line);
    if (!report.picture.empty()) text += oneLine("wrote " + report.picture);
    if (report.limit)
        text += std::string(report.over ? "OVER" : "within") + " the tolerance of " +
                shortNumber(*report.limit) + "\n";
    return text;
}

void writeDifference(JsonWriter& json, const Difference& difference) {
    json.beginObject();
    json.key("frames").value(difference.frames);
    json.key("points").value(difference.points);
    json.key("unlike").value(difference.unlike);
    json.key("broken").value(difference.broken);
    json.key("brokenInBoth").value(difference.brokenInBoth);
    json.key("largest").value(difference.largest);
    json.key("largestShare").value(difference.share(difference.largest));
    json.key("rms").value(difference.rms);
    json.key("rmsShare").value(difference.share(difference.rms));
    json.key("quantile999").value(difference.quantile);
    json.key("quantile999Share").value(difference.share(difference.quantile));
    json.key("diagonal").value(difference.diagonal);
    json.key("largestCoordinate").value(difference.largestCoordinate);
    json.key("worstPoint").value(difference.worstPoint);
    json.key("worstFrame").value(std::int32_t(difference.worstFrame));
    json.key("worstFirst").value(difference.worstFirst);
    json.key("worstSecond").value(difference.worstSecond);
    json.endObject();
}

std::string reportJson(const CompareReport& report) {
    ReportJson json("talvisora-compare", 2);
    json.key("first").value(report.first);
    json.key("second").value(report.second);
    json.key("unit").value(report.unit);
    writeDifference(json.key("all"), report.all);
    writeDifference(json.key("judged"), report.judged);
    json.key("weighted").value(report.weighted);
    json.key("threshold").value(report.threshold);
    json.key("meant").value(meantLines(report));
    json.key("answers").value(report.answers);
    json.key("failures").value(report.failures);
    json.key("tolerance");
    report.limit ? json.value(*report.limit) : json.null();
    json.key("over").value(report.over);
    if (!report.picture.empty()) json.key("picture").value(report.picture);
    return json.done();
}

} // namespace

ExitCode runCompareVerb(const CompareJob& job, bool json) {
    const CompareReport report = runCompareJob(job);
    printOut(json ? reportJson(report) : summary(report));
    return report.over ? ExitCode::kFindings : ExitCode::kDone;
}

} // namespace talvisora::host
