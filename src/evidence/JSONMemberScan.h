#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace vigilmoth {

// Reads a few members of a JSON document without building it, for documents of megabytes or
// cut short: the scan follows the key path to each value and hands strings and booleans to
// the subclass. A subclass returns false to stop the scan once it knows enough.
class JSONMemberScan : public nlohmann::json::json_sax_t {
public:
    // Scans `text`; false when it is not one JSON document (or the scan was stopped).
    bool scan(std::string_view text) {
        return nlohmann::json::sax_parse(text, static_cast<nlohmann::json::json_sax_t*>(this));
    }

    // The document is an object, and all of it was read.
    bool isObject() const { return isObject_; }
    bool finished() const { return finished_; }

protected:
    virtual bool text(const std::string&) { return true; }
    virtual bool flag(bool) { return true; }
    // The depth of the value being read (1 for a top-level member) and the key at a depth.
    std::size_t depth() const { return keys_.size(); }
    const std::string& keyAt(std::size_t depth) const { return keys_[depth - 1]; }

private:
    bool null() override { return true; }
    bool boolean(bool value) override { return flag(value); }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool string(string_t& value) override { return text(value); }
    bool start_object(std::size_t) override { return enter(true); }
    bool end_object() override { return leave(); }
    bool start_array(std::size_t) override { return enter(false); }
    bool end_array() override { return leave(); }
    bool key(string_t& value) override {
        keys_.back() = value;
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

    bool enter(bool object) {
        if (keys_.empty()) isObject_ = object;
        keys_.emplace_back();
        return true;
    }
    bool leave() {
        keys_.pop_back();
        finished_ = keys_.empty();
        return true;
    }

    // One entry per open container: the key of the member being read in it (empty in arrays).
    std::vector<std::string> keys_;
    bool isObject_ = false;
    bool finished_ = false;
};

}  // namespace vigilmoth
