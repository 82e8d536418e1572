#pragma once

#include "parent/DirectXFilter.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tarvik {

/// The list of filters as lines of text, for a pipe between the two systems:
///
///     DirectX filters, format 1
///     filter CLASS REGISTRATION NAME LISTED-NAME MODULE
///     ...
///     problem TEXT
///     end COUNT
///
/// Lines end with LF. The texts are words as in svbase/util/EscapedWord.h; "problem" stands there only where
/// there is one. The last line tells that all has come, since the pipe's end does not: whatever Wine started
/// meanwhile may hold it open. [any]
std::string filterListText(const DirectXFilterList& list);

/// Reads that text as it comes, in pieces of any size. It believes nothing: filters out of order or twice, an
/// unknown word, or a count that is not theirs end the reading. A filter whose line is longer than a mebibyte
/// is left out, which is a problem of the list and costs no other filter its place. [any one thread]
class FilterListReader {
public:
    enum class State { reading, complete, failed };

    /// What comes after the last line, or after a failure, is not looked at.
    State feed(std::string_view bytes);

    State state() const { return state_; }
    /// Once complete.
    const DirectXFilterList& list() const { return list_; }
    /// Once failed: the line and what is wrong with it, for a person.
    const String& error() const { return error_; }

private:
    void readLine(std::string_view line);
    void readFilter(const std::vector<std::string_view>& words);
    void leaveOut(std::string_view beginning);
    /// False after a failure.
    bool isNext(const ClassId& classId);
    void complete();
    void fail(const char* what);

    State state_ = State::reading;
    DirectXFilterList list_;
    String error_;
    /// Of a line whose end has not come, as much as any line may have.
    std::string pending_;
    bool isTooLong_ = false;
    std::size_t leftOut_ = 0;
    ClassId firstLeftOut_{};
    /// Of the last filter, whether it was left out or not.
    ClassId last_{};
    std::size_t lineNumber_ = 0;
};

} // namespace Tarvik
