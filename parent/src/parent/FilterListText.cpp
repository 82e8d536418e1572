#include "parent/FilterListText.h"

#include "svbase/util/EscapedWord.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace Tarvik {

namespace {

using Util::escapedWord;

constexpr std::string_view firstLine = "DirectX filters, format 1";

/// Three texts of the registry, each byte of them escaped, and far more of each than anybody writes there in
/// earnest. What is longer is not kept in memory.
constexpr std::size_t longestLine = 1 << 20;
/// Ten times what the fullest machine has registered.
constexpr std::size_t mostFilters = 100'000;

struct RegistrationWord {
    DirectXFilter::Registration registration;
    std::string_view word;
};
constexpr std::array<RegistrationWord, 5> registrationWords{{
    {DirectXFilter::Registration::complete, "complete"},
    {DirectXFilter::Registration::moduleMissing, "module-missing"},
    {DirectXFilter::Registration::noModule, "no-module"},
    {DirectXFilter::Registration::otherProcessor, "other-processor"},
    {DirectXFilter::Registration::noClass, "no-class"},
}};

/// Only the one form that is written. The reader of class identifiers takes others too, and anything else for
/// sixteen zeros.
std::optional<ClassId> classIdOf(std::string_view word) {
    const String text{std::string(word)};
    const ClassId id = ClassIdFromString(text);
    return id != ClassId{} && ClassIdToString(id).view() == word ? std::optional(id) : std::nullopt;
}

} // namespace

std::string filterListText(const DirectXFilterList& list) {
    std::string text(firstLine);
    text += '\n';
    for (const DirectXFilter& filter : list.filters) {
        const auto word =
            std::ranges::find(registrationWords, filter.registration, [](const RegistrationWord& each) {
                return each.registration;
            });
        text += "filter " + ClassIdToString(filter.classId).toStdString();
        text += ' ';
        text += word->word;
        for (const String& each : {filter.name, filter.listedName, filter.module}) {
            text += ' ' + escapedWord(each.view());
        }
        text += '\n';
    }
    if (!list.problem.isEmpty()) {
        text += "problem " + escapedWord(list.problem.view()) + '\n';
    }
    return text + "end " + std::to_string(list.filters.size()) + '\n';
}

FilterListReader::State FilterListReader::feed(std::string_view bytes) {
    while (state_ == State::reading && !bytes.empty()) {
        const std::size_t end = bytes.find('\n');
        const std::string_view piece = bytes.substr(0, end);
        const std::size_t room = longestLine - pending_.size();
        pending_ += piece.substr(0, room);
        isTooLong_ = isTooLong_ || piece.size() > room;
        if (end == std::string_view::npos) {
            break;
        }
        bytes.remove_prefix(end + 1);
        ++lineNumber_;
        const std::string line = std::exchange(pending_, {});
        if (std::exchange(isTooLong_, false)) {
            leaveOut(line);
        } else {
            readLine(line);
        }
    }
    return state_;
}

void FilterListReader::leaveOut(std::string_view beginning) {
    // Its texts come last.
    const std::vector<std::string_view> words = Util::wordsOf(beginning);
    if (lineNumber_ == 1 || words.size() < 4 || words[0] != "filter" || !list_.problem.isEmpty()) {
        fail("longer than any line can be");
        return;
    }
    const auto classId = classIdOf(words[1]);
    if (!classId) {
        fail("no class identifier where one belongs");
    } else if (isNext(*classId)) {
        firstLeftOut_ = leftOut_ == 0 ? *classId : firstLeftOut_;
        ++leftOut_;
    }
}

bool FilterListReader::isNext(const ClassId& classId) {
    const std::size_t before = list_.filters.size() + leftOut_;
    if (before != 0 && !(last_ < classId)) {
        fail("not in the order of class identifiers");
        return false;
    }
    if (before == mostFilters) {
        fail("more filters than there can be");
        return false;
    }
    last_ = classId;
    return true;
}

void FilterListReader::complete() {
    state_ = State::complete;
    if (leftOut_ != 0) {
        const String told = String("Left out of the list of filters, as the texts of its registration are "
                                   "longer than any can be: %1")
                                .arg(ClassIdToString(firstLeftOut_));
        const String further = leftOut_ == 1 ? String("") : String(" and %1 more").arg(leftOut_ - 1);
        list_.problem = (list_.problem.isEmpty() ? String("") : list_.problem + "; ") + told + further;
    }
}

void FilterListReader::readLine(std::string_view line) {
    if (lineNumber_ == 1) {
        if (line != firstLine) {
            fail("not the beginning of a list of filters");
        }
        return;
    }
    const std::vector<std::string_view> words = Util::wordsOf(line);
    if (words[0] == "end" && words.size() == 2) {
        if (words[1] != std::to_string(list_.filters.size() + leftOut_)) {
            fail("another number of filters than came");
        } else {
            complete();
        }
        return;
    }
    if (!list_.problem.isEmpty()) {
        fail("something else than the end after the problem");
    } else if (words[0] == "filter" && words.size() == 6) {
        readFilter(words);
    } else if (words[0] == "problem" && words.size() == 2) {
        const auto text = Util::textOfWord(words[1]);
        if (!text || text->empty()) {
            fail("no text where one belongs");
            return;
        }
        list_.problem = String(*text);
    } else {
        fail("neither a filter nor a problem nor the end");
    }
}

void FilterListReader::readFilter(const std::vector<std::string_view>& words) {
    const auto classId = classIdOf(words[1]);
    const auto registration = std::ranges::find(registrationWords, words[2], &RegistrationWord::word);
    const auto name = Util::textOfWord(words[3]);
    const auto listedName = Util::textOfWord(words[4]);
    const auto module = Util::textOfWord(words[5]);
    if (!classId) {
        fail("no class identifier where one belongs");
    } else if (registration == registrationWords.end()) {
        fail("an unknown kind of registration");
    } else if (!name || !listedName || !module) {
        fail("no text where one belongs");
    } else if (isNext(*classId)) {
        list_.filters.push_back(
            {*classId, String(*name), String(*listedName), registration->registration, String(*module)});
    }
}

void FilterListReader::fail(const char* what) {
    state_ = State::failed;
    error_ = String("Line %1 of the list of filters: %2").arg(lineNumber_).arg(what);
    pending_.clear();
}

} // namespace Tarvik
