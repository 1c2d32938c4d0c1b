// Pin names of the blocks with a custom box: the input and output lists of
// the box ("x1,x2,x3"), an empty or missing item being "unnamed_in_3" or
// "unnamed_out_5" by its pin number from 1, and a clock behind them.
#pragma once

#include <string>
#include <vector>

namespace qz3 {

class CCustomElemType;

// Items of a comma list, trimmed; an empty text has none.
std::vector<std::string> NameItems(const std::string& list);

// `count` names from a comma list; a missing or empty item k (from 0) is
// `unnamed` + (k + 1), as "unnamed_var_2".
std::vector<std::string> NamesOrNumbered(const std::string& list, int count, const std::string& unnamed);

struct CBlockNames {
    int inputs = 0;
    int outputs = 0;
    bool clocked = false;
    std::vector<std::string> names;  // one per pin
};

// The names of `pinCount` pins for `inputs` and `outputs` pins taken from
// the lists; one pin more than both is the clock.
CBlockNames NameBlockPins(const std::vector<std::string>& ins, const std::vector<std::string>& outs, int inputs,
                          int outputs, int pinCount);

// A box with no pins drawn gets its inputs on the left and its outputs on
// the right, one row each.
void PlaceDefaultPins(CCustomElemType& box, int inputs, int outputs);

}  // namespace qz3
