#include "tools/pelko/export/ExportRecord.h"

#include <algorithm>
#include <limits>

#include "tools/pelko/Output.h"
#include "tools/pelko/Text.h"
#include "tools/pelko/export/JsonLinesFormat.h"
#include "tools/pelko/export/JsonText.h"

namespace pelkotool {

namespace {

constexpr int deepestLine = 8;

/// Takes what the parser reads of a line. It keeps the values of the outermost object alone, and passes over
/// what lies deeper, so that no line makes it large or deep.
class RecordBuilder : public nlohmann::json_sax<Json> {
public:
    bool null() override { return put(std::monostate()); }
    bool boolean(bool) override { return put(NoValue()); }
    bool number_integer(number_integer_t number) override { return put(static_cast<long long>(number)); }
    bool number_unsigned(number_unsigned_t number) override {
        constexpr auto greatest = static_cast<number_unsigned_t>(std::numeric_limits<long long>::max());
        return number <= greatest ? put(static_cast<long long>(number)) : refuseNumber();
    }
    bool number_float(number_float_t number, const string_t& digits) override {
        // An integer that is too long for 64 bits comes here, too.
        return digits.find_first_of(".eE") != string_t::npos ? put(number) : refuseNumber();
    }
    bool string(string_t& text) override { return put(std::move(text)); }
    bool binary(binary_t&) override { return false; }  // no JSON text has it

    bool start_object(std::size_t) override {
        mWrapped = {};
        return enter();
    }
    bool key(string_t& name) override {
        if (mDepth == 1) {
            return addField(std::move(name));
        }
        if (mDepth == 2) {
            mWrapped.name = std::move(name);
        }
        return true;
    }
    bool end_object() override { return --mDepth != 1 || unwrap(); }
    bool start_array(std::size_t) override {
        if (mDepth == 0) {
            return fail("is no JSON object");
        }
        return enter();
    }
    bool end_array() override {
        if (--mDepth == 1) {
            return put(NoValue());
        }
        return true;
    }
    bool parse_error(std::size_t position, const std::string&, const Json::exception& error) override {
        constexpr int outOfRange = 406;
        return fail(error.id == outOfRange ? "holds a number that is too large"
                                           : "is no JSON from byte " + std::to_string(position) + " on");
    }

    ExportRecord& record() { return mRecord; }
    const std::string& reason() const { return mReason; }

private:
    /// An object in the place of a value, {"text_hex":"ff"}.
    struct Wrapped {
        std::string name;
        std::string text;
        int members = 0;
        bool isText = false;
    };

    bool fail(const std::string& reason) {
        mReason = reason;
        return false;
    }

    bool refuseNumber() { return mDepth > 1 || fail("holds an integer of more than 64 bits" + where()); }

    std::string where() const { return mRecord.fields.empty() ? "" : " in " + mRecord.fields.back().first; }

    bool enter() { return ++mDepth <= deepestLine || fail("is nested too deep"); }

    bool addField(std::string name) {
        auto& fields = mRecord.fields;
        const bool isTwice =
            std::any_of(fields.begin(), fields.end(), [&](const auto& field) { return field.first == name; });
        if (isTwice) {
            return fail("has " + nameInError(name) + " twice");
        }
        if (fields.size() > mostColumns) {
            return fail("has more than " + std::to_string(mostColumns) + " columns");
        }
        fields.emplace_back(std::move(name), std::monostate());
        return true;
    }

    bool put(StoredValue value) {
        if (mDepth == 0) {
            return fail("is no JSON object");
        }
        if (mDepth == 1) {
            mRecord.fields.back().second = std::move(value);
        } else if (mDepth == 2) {
            ++mWrapped.members;
            auto* const text = std::get_if<std::string>(&value);
            mWrapped.isText = text != nullptr;
            mWrapped.text = text != nullptr ? std::move(*text) : std::string();
        }
        return true;
    }

    bool unwrap() {
        if (mRecord.fields.back().first == key::derived || mWrapped.members != 1 || !mWrapped.isText) {
            return put(NoValue());
        }
        std::string bytes;
        const bool isHex = mWrapped.name == key::textHex || mWrapped.name == key::blobHex;
        if (isHex && !decodeHex(mWrapped.text, bytes)) {
            return fail("has a " + mWrapped.name + where() + " that is no pairs of hexadecimal digits");
        }
        if (mWrapped.name == key::textHex) {
            return put(std::move(bytes));
        }
        if (mWrapped.name == key::blobHex) {
            return put(Blob{std::move(bytes)});
        }
        constexpr double infinity = std::numeric_limits<double>::infinity();
        if (mWrapped.name == key::real && mWrapped.text == "inf") {
            return put(infinity);
        }
        if (mWrapped.name == key::real && mWrapped.text == "-inf") {
            return put(-infinity);
        }
        return put(NoValue());
    }

    ExportRecord mRecord;
    Wrapped mWrapped;
    std::string mReason;
    int mDepth = 0;
};

}  // namespace

std::string nameInError(const std::string& name) {
    constexpr std::size_t columns = 60;
    return shortened(visibleText(name), columns);
}

const StoredValue* ExportRecord::find(std::string_view name) const {
    const auto found =
        std::find_if(fields.begin(), fields.end(), [&](const auto& field) { return field.first == name; });
    return found != fields.end() ? &found->second : nullptr;
}

ExportRecord parseRecord(std::string_view line) {
    // The parser takes a NUL byte for the end.
    if (const std::size_t nul = line.find('\0'); nul != std::string_view::npos) {
        throw LineError("is no JSON from byte " + std::to_string(nul + 1) + " on");
    }
    RecordBuilder builder;
    if (!Json::sax_parse(line.begin(), line.end(), &builder)) {
        throw LineError(builder.reason());
    }
    return std::move(builder.record());
}

}  // namespace pelkotool
