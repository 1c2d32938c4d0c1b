#include "svg_plot.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <regex>
#include <vector>

namespace qz3::cli {
namespace {

// Well-formedness as far as this plotter's output goes: one prolog, tags
// that nest and close, attributes in double quotes, no raw "<" or "&" in
// text. Returns an empty string when all is well, else what went wrong.
// Scanned by hand: a regular expression over a long points list is too slow.
bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == ':' || c == '-'; }

bool EntitiesAreValid(const std::string& text) {
    static const char* const kEntities[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;", "&#x"};
    for (size_t amp = text.find('&'); amp != std::string::npos; amp = text.find('&', amp + 1)) {
        bool known = false;
        for (const char* entity : kEntities) known |= text.compare(amp, std::strlen(entity), entity) == 0;
        if (!known || text.find(';', amp) == std::string::npos) return false;
    }
    return true;
}

// Parses `name attr="value" ...` and gives the element name, or "" if bad.
std::string TagName(const std::string& body) {
    size_t pos = 0;
    while (pos < body.size() && IsNameChar(body[pos])) ++pos;
    std::string name = body.substr(0, pos);
    if (name.empty() || !std::isalpha(static_cast<unsigned char>(name[0]))) return "";
    while (pos < body.size()) {
        size_t start = pos;
        while (pos < body.size() && std::isspace(static_cast<unsigned char>(body[pos]))) ++pos;
        if (pos == body.size()) break;
        if (pos == start) return "";
        size_t attr = pos;
        while (pos < body.size() && IsNameChar(body[pos])) ++pos;
        if (pos == attr || body.compare(pos, 2, "=\"") != 0) return "";
        size_t close = body.find('"', pos + 2);
        if (close == std::string::npos) return "";
        std::string value = body.substr(pos + 2, close - pos - 2);
        if (value.find('<') != std::string::npos || !EntitiesAreValid(value)) return "";
        pos = close + 1;
    }
    return name;
}

std::string XmlProblem(const std::string& svg) {
    std::vector<std::string> open;
    size_t pos = 0;
    if (svg.rfind("<?xml", 0) == 0) pos = svg.find("?>") + 2;
    bool rootSeen = false;
    while (pos < svg.size()) {
        size_t lt = svg.find('<', pos);
        std::string text = svg.substr(pos, lt == std::string::npos ? std::string::npos : lt - pos);
        if (!EntitiesAreValid(text)) return "bare & in text";
        if (lt == std::string::npos) break;
        size_t gt = svg.find('>', lt);
        if (gt == std::string::npos) return "unclosed tag";
        std::string tag = svg.substr(lt + 1, gt - lt - 1);
        if (tag.find('<') != std::string::npos) return "< inside a tag";
        if (tag[0] == '/') {
            if (open.empty() || open.back() != tag.substr(1)) return "mismatched </" + tag.substr(1) + ">";
            open.pop_back();
        } else {
            bool selfClosing = tag.back() == '/';
            std::string name = TagName(selfClosing ? tag.substr(0, tag.size() - 1) : tag);
            if (name.empty()) return "bad tag <" + tag.substr(0, 80) + ">";
            if (open.empty() && rootSeen) return "second root";
            rootSeen = true;
            if (!selfClosing) open.push_back(name);
        }
        pos = gt + 1;
    }
    return open.empty() ? "" : "unclosed <" + open.back() + ">";
}

std::vector<std::string> TextsOf(const std::string& svg) {
    std::vector<std::string> texts;
    std::regex text(R"(<text[^>]*>([^<]*)</text>)");
    for (auto it = std::sregex_iterator(svg.begin(), svg.end(), text); it != std::sregex_iterator(); ++it)
        texts.push_back((*it)[1]);
    return texts;
}

bool Contains(const std::vector<std::string>& texts, const std::string& wanted) {
    for (const std::string& text : texts)
        if (text == wanted) return true;
    return false;
}

CPlotFigure RcFigure() {
    CPlotFigure figure;
    figure.title = "rc & co";
    figure.xAxis = {"time", "s", false};
    CPlotSeries charge{"V(C1)", {}, {}}, supply{"V<in>", {}, {}}, current{"I(R1)", {}, {}};
    for (int i = 0; i <= 50; ++i) {
        double t = i * 1e-4;
        charge.x.push_back(t);
        charge.y.push_back(1 - std::exp(-t / 1e-3));
        supply.x.push_back(t);
        supply.y.push_back(1);
        current.x.push_back(t);
        current.y.push_back(std::exp(-t / 1e-3) * 1e-3);
    }
    figure.panels.push_back({{"voltage", "V", false}, {charge, supply}});
    figure.panels.push_back({{"current", "A", false}, {current}});
    return figure;
}

TEST(SvgPlot, IsWellFormedWithTitlesUnitsAndLegend) {
    std::string svg = RenderSvg(RcFigure());
    EXPECT_EQ(XmlProblem(svg), "");
    std::vector<std::string> texts = TextsOf(svg);
    EXPECT_TRUE(Contains(texts, "time (ms)"));
    EXPECT_TRUE(Contains(texts, "voltage (V)"));
    EXPECT_TRUE(Contains(texts, "current (mA)"));
    EXPECT_TRUE(Contains(texts, "V(C1)"));
    EXPECT_TRUE(Contains(texts, "V&lt;in&gt;"));
    EXPECT_TRUE(Contains(texts, "I(R1)"));
    EXPECT_TRUE(Contains(texts, "rc &amp; co"));
    // Time ticks 0 to 5 ms in whole milliseconds, current ticks in mA.
    for (const char* tick : {"0", "1", "2", "3", "4", "5"}) EXPECT_TRUE(Contains(texts, tick)) << tick;
    EXPECT_TRUE(Contains(texts, "0.2"));
    EXPECT_TRUE(Contains(texts, "1.0"));
}

TEST(SvgPlot, EverySeriesHasItsOwnColourAndLine) {
    std::string svg = RenderSvg(RcFigure());
    std::regex polyline(R"re(<polyline[^>]*stroke="(#[0-9a-f]{6})")re");
    std::vector<std::string> colours;
    for (auto it = std::sregex_iterator(svg.begin(), svg.end(), polyline); it != std::sregex_iterator(); ++it)
        colours.push_back((*it)[1]);
    ASSERT_EQ(colours.size(), 3u);
    EXPECT_EQ(colours[0], SeriesColour(0));
    EXPECT_EQ(colours[1], SeriesColour(1));
    EXPECT_EQ(colours[2], SeriesColour(2));
    EXPECT_NE(colours[0], colours[1]);
    EXPECT_NE(colours[1], colours[2]);
    EXPECT_NE(svg.find("class=\"legend\""), std::string::npos);
}

TEST(SvgPlot, GapsBreakTheLineAndHugeSeriesAreThinned) {
    CPlotFigure figure;
    figure.xAxis = {"time", "s", false};
    CPlotSeries gappy{"g", {0, 1, 2, 3, 4}, {0, 1, NAN, 1, 0}};
    CPlotSeries dense{"d", {}, {}};
    for (int i = 0; i < 200000; ++i) {
        dense.x.push_back(i * 2e-5);
        dense.y.push_back(std::sin(i * 0.01));
    }
    figure.panels.push_back({{"value", "", false}, {gappy, dense}});
    std::string svg = RenderSvg(figure);
    EXPECT_EQ(XmlProblem(svg), "");
    size_t lines = 0;
    for (size_t p = svg.find("<polyline"); p != std::string::npos; p = svg.find("<polyline", p + 1)) ++lines;
    EXPECT_EQ(lines, 3u);  // two pieces of the gappy series, one dense line
    EXPECT_LT(svg.size(), 200000u);
}

TEST(SvgPlot, BodeLayoutOnALogAxis) {
    CPlotFigure figure;
    figure.xAxis = {"frequency", "Hz", true};
    CPlotSeries mag{"V(out)", {}, {}}, phase{"V(out)", {}, {}};
    for (int i = 0; i <= 40; ++i) {
        double f = std::pow(10.0, i * 0.1);
        mag.x.push_back(f);
        mag.y.push_back(-10 * std::log10(1 + f * f / 1e4));
        phase.x.push_back(f);
        phase.y.push_back(-std::atan(f / 100) * 57.2957795);
    }
    mag.x.push_back(0);  // a zero frequency cannot be drawn on a log axis
    mag.y.push_back(0);
    figure.panels.push_back({{"magnitude", "dB", false}, {mag}});
    figure.panels.push_back({{"phase", "deg", false}, {phase}});
    std::string svg = RenderSvg(figure);
    EXPECT_EQ(XmlProblem(svg), "");
    std::vector<std::string> texts = TextsOf(svg);
    EXPECT_TRUE(Contains(texts, "frequency (Hz)"));
    EXPECT_TRUE(Contains(texts, "magnitude (dB)"));
    EXPECT_TRUE(Contains(texts, "phase (deg)"));
    for (const char* tick : {"1", "10", "100", "1k", "10k"}) EXPECT_TRUE(Contains(texts, tick)) << tick;
}

TEST(SvgPlot, EmptyFiguresStillDrawAndSayNoData) {
    CPlotFigure figure;
    figure.xAxis = {"time", "s", false};
    std::string svg = RenderSvg(figure);
    EXPECT_EQ(XmlProblem(svg), "");
    EXPECT_TRUE(Contains(TextsOf(svg), "no data"));
    figure.panels.push_back({{"voltage", "V", false}, {{"flat", {0, 1}, {3, 3}}}});
    svg = RenderSvg(figure);
    EXPECT_EQ(XmlProblem(svg), "");
    EXPECT_FALSE(Contains(TextsOf(svg), "no data"));
}

TEST(SvgPlot, EscapesEverythingXmlForbids) {
    EXPECT_EQ(XmlEscape("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c&apos;");
    EXPECT_EQ(XmlEscape(std::string("x\x01y")), "x y");
    EXPECT_EQ(XmlEscape("\xb5s"), "&#xB5;s");
    std::string error;
    EXPECT_FALSE(WriteSvgFile("/no/such/dir/p.svg", CPlotFigure(), error));
    EXPECT_EQ(error, "cannot write /no/such/dir/p.svg");
}

}  // namespace
}  // namespace qz3::cli
