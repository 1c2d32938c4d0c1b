// Reading the tables of "List" and "File" from text.
//
// The item splitter trims the text and cuts it at blanks and commas. A
// double-quoted stretch stays whole, and blanks next to one of ( ) < > ! =
// don't cut, so that a formula written with those stays one item.
// Items are evaluated through a callback, so that these readers know
// nothing of the evaluator; the callback reports its message on failure.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qz3 {

using SignalEval = std::function<bool(const std::string& item, double& value, std::string& error)>;

std::vector<std::string> SplitSignalItems(const std::string& text);

// "List": pairs of items; a last odd item is dropped. A failure on the first
// pair leaves it aside; a later one fails with "Error: " + the message.
bool ReadListPairs(const std::string& text, const SignalEval& eval, std::vector<double>& pairs,
                   std::string& error);

// "File": one pair per line from the first two items; lines of fewer than
// two items are passed over, and so is the first line if it doesn't
// evaluate (a heading). emptyMessage is the text for a table with no pairs.
bool ReadTableLines(const std::vector<std::string>& lines, const SignalEval& eval,
                    const std::string& emptyMessage, std::vector<double>& pairs, std::string& error);

// Cuts a file's text into lines at CR, LF or CR LF.
std::vector<std::string> SplitTextLines(const std::string& text);

}  // namespace qz3
