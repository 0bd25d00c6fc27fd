// SPDX-License-Identifier: Apache-2.0
#include "json_syntax.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "client/calibration/import/text_tokens.h"

namespace hidlaudio::client {
namespace {

using nlohmann::json;

/** Finds syntax errors and repeated keys. A parsed document would keep only one of two equal keys. */
class SyntaxCheck : public nlohmann::json_sax<json> {
  public:
    explicit SyntaxCheck(std::string_view text) : text_(text) {}

    bool null() override { return scalar(); }
    bool boolean(bool) override { return scalar(); }
    bool number_integer(json::number_integer_t) override { return scalar(); }
    bool number_unsigned(json::number_unsigned_t) override { return scalar(); }
    bool number_float(json::number_float_t, const json::string_t&) override { return scalar(); }
    bool string(json::string_t&) override { return scalar(); }
    bool binary(json::binary_t&) override { return scalar(); }
    bool start_object(size_t) override { return begin(); }
    bool end_object() override { return end(); }
    bool start_array(size_t) override { return begin(); }
    bool end_array() override { return end(); }

    bool key(json::string_t& name) override {
        const bool ofEntry = depth_ == 2;
        if (ofEntry && !keys_.insert(name).second)
            faults.push_back("/" + std::to_string(entries_ - 1) + ": key " + quote(name) + " is given twice");
        return true;
    }

    bool parse_error(size_t position, const std::string& lastToken, const json::exception&) override {
        // `position` is the number of bytes read, of which the last one is invalid.
        const std::string_view before = text_.substr(0, std::max<size_t>(position, 1) - 1);
        const auto line = 1 + std::count(before.begin(), before.end(), '\n');
        const size_t column = before.size() - (before.rfind('\n') + 1) + 1;
        const std::string what = position > text_.size() ? "unexpected end of the text"
                                                         : "invalid JSON at: " + printable(lastToken);
        faults.push_back("line " + std::to_string(line) + ", column " + std::to_string(column) + ": " + what);
        return false;
    }

    std::vector<std::string> faults;

  private:
    bool scalar() {
        if (depth_ == 1) ++entries_;
        return true;
    }

    bool begin() {
        if (depth_ == 1) {
            ++entries_;
            keys_.clear();
        }
        ++depth_;
        return true;
    }

    bool end() {
        --depth_;
        return true;
    }

    std::string_view text_;
    size_t depth_ = 0;
    size_t entries_ = 0;          // number of entries of the outer array so far
    std::set<std::string> keys_;  // keys of the current entry
};

}  // namespace

std::vector<std::string> findJsonFaults(std::string_view text) {
    SyntaxCheck check(text);
    json::sax_parse(text, &check);
    return check.faults;
}

}  // namespace hidlaudio::client
