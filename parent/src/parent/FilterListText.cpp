#include "parent/FilterListText.h"

#include "svbase/util/EscapedWord.h"

#include <algorithm>
#include <array>
#include <optional>

namespace Tarvik {

namespace {

using Util::escapedWord;

constexpr std::string_view firstLine = "DirectX filters, format 1";

/// Three texts of the registry, each byte of them escaped, and far more of each than anybody writes there.
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
        pending_ += bytes.substr(0, end);
        if (pending_.size() > longestLine) {
            ++lineNumber_;
            fail("longer than any line can be");
        } else if (end == std::string_view::npos) {
            break;
        } else {
            ++lineNumber_;
            const std::string line = std::move(pending_);
            pending_.clear();
            readLine(line);
            bytes.remove_prefix(end + 1);
        }
    }
    return state_;
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
        if (words[1] != std::to_string(list_.filters.size())) {
            fail("another number of filters than came");
            return;
        }
        state_ = State::complete;
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
    } else if (!list_.filters.empty() && !(list_.filters.back().classId < *classId)) {
        fail("not in the order of class identifiers");
    } else if (list_.filters.size() == mostFilters) {
        fail("more filters than there can be");
    } else {
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
