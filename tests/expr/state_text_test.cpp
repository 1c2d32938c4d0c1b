#include "expr/state_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace qz3;

TEST(StateText, AppendersWriteKeysAndCommas) {
    TStringList modes;
    modes.Add("Off");
    modes.Add("Sine");
    std::string s;
    AddKeyInt(s, "c", -3);
    AddKeyDouble(s, "v", 1500);
    AddKeyHex(s, "f", 1.0);
    AddKeyHex(s, "z", 0.0);
    AddKeyBraced(s, "s", "a=1,b=2");
    AddKeyOnOff(s, "on", 5);
    AddKeyOnOff(s, "off", 0);
    AddKeyChoice(s, "mode", 1, modes);
    AddKeyChoice(s, "bad", 2, modes);
    AddKeyStr(s, "", "bare");
    AddKeyStr(s, "t", "text");
    EXPECT_EQ(s, "c=-3,v=1.5e+3,f=#000000000000F03F,z=0,s={a=1,b=2},on=On,off=Off,mode=Sine,bad=,bare,t=text");
}

TEST(StateText, CountAndItemsRespectBraces) {
    struct Row { const char* list; int count; };
    const Row rows[] = {
        {"", 0}, {"   ", 0}, {"a", 1}, {"a,b", 2}, {",", 2}, {"a={1,2,3},b=4", 2}, {"a={1,{2,3},b", 2}, {"a={1,2", 1},
    };
    for (const Row& r : rows) EXPECT_EQ(ListCount(r.list), r.count) << r.list;
    const char* list = " a = 1 ,b={x,y}, c";
    EXPECT_EQ(ListItem(list, 0), " a = 1 ");
    EXPECT_EQ(ListItem(list, 1), "b={x,y}");
    EXPECT_EQ(ListItem(list, 2), " c");
    EXPECT_EQ(ListItem(list, 3), "");
}

TEST(StateText, KeyReaders) {
    const char* list = " a = 1 ,A=2,b={x=1,y},d=4k7,e=junk,h=#000000000000F03F,n=12abc,a=9,bare";
    EXPECT_EQ(KeyStr(list, "a"), "1");  // the first match wins
    EXPECT_EQ(KeyStr(list, "A"), "2");  // case counts
    EXPECT_EQ(KeyStr(list, "b"), "{x=1,y}");
    EXPECT_EQ(KeyStr(list, "x"), "");   // keys inside braces aren't items
    EXPECT_EQ(KeyStr(list, "missing"), "");
    EXPECT_EQ(KeyBraced(list, "b"), "x=1,y");
    EXPECT_EQ(KeyBraced(list, "missing"), "");
    EXPECT_EQ(KeyInt(list, "a", 7), 1);
    EXPECT_EQ(KeyInt(list, "n", 7), 12);
    EXPECT_EQ(KeyInt(list, "e", 7), 7);
    EXPECT_EQ(KeyInt(list, "missing", 7), 7);
    EXPECT_EQ(KeyDouble(list, "d", -1), 4700.0);
    EXPECT_EQ(KeyDouble(list, "e", -1), -1.0);
    EXPECT_EQ(KeyDouble(list, "missing", -1), -1.0);
    EXPECT_EQ(KeyHex(list, "h", -1), 1.0);
    EXPECT_EQ(KeyHex(list, "e", -1), 0.0);  // not hex text: zero, not the default
    EXPECT_EQ(KeyHex(list, "missing", -1), -1.0);
}

TEST(StateText, HexSurvivesAWriteAndRead) {
    const double x = 0.1 + 0.2;
    std::string s;
    AddKeyHex(s, "x", x);
    AddKeyDouble(s, "y", x);
    const double hex = KeyHex(s, "x", 0);
    EXPECT_EQ(std::memcmp(&hex, &x, sizeof x), 0);
    EXPECT_NE(KeyDouble(s, "y", 0), x);  // 12 digits would not keep it
}

TEST(StateText, StateById) {
    TStringList states;
    states.Add("name=x,c=1");
    states.Add("id=12,c=3,f=#000000000000F03F");
    states.Add("id=7");
    states.Add("id=5,s={a,b}");
    states.Add("id=12,c=99");
    EXPECT_EQ(StateById(states, 12), "c=3,f=#000000000000F03F");
    EXPECT_EQ(StateById(states, 5), "s={a,b}");
    EXPECT_EQ(StateById(states, 7), "");
    EXPECT_EQ(StateById(states, 1), "");
}
