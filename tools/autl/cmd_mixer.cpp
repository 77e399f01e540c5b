// autl mixer: lists, reads and writes the mixer controls of a sound card through TinyalsaMixer.
//
// The values go through the library, as the HAL reads and writes them. The list of controls (names,
// types and value counts) comes from alsa-lib: the mixer finds controls by name only and cannot
// list them, and tinyalsa's calls that the library uses cannot either. alsa-lib also tells a
// failed driver read, which tinyalsa hands back as the value -1, from a real -1.

#include <alsa/asoundlib.h>
#include <mixer/tinyalsa_mixer.h>

#include <algorithm>
#include <climits>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli.h"

namespace autl {

extern const Command kMixerCommand;

namespace {

using vendor::zentro::tevrash::audio::hal::utils::mixer::TinyalsaMixer;

struct Control {
    std::string name;
    unsigned int numid;
    snd_ctl_elem_type_t type;
    unsigned int count;
};

// A value as text, and its numbers (every byte, or the first integer); or why it cannot be read.
struct Value {
    std::optional<std::string> text;
    std::string error;
    std::vector<long> numbers;
};

const char* TypeName(snd_ctl_elem_type_t type) {
    switch (type) {
        case SND_CTL_ELEM_TYPE_BOOLEAN:
            return "bool";
        case SND_CTL_ELEM_TYPE_INTEGER:
            return "integer";
        case SND_CTL_ELEM_TYPE_ENUMERATED:
            return "enum";
        case SND_CTL_ELEM_TYPE_BYTES:
            return "bytes";
        case SND_CTL_ELEM_TYPE_IEC958:
            return "iec958";
        case SND_CTL_ELEM_TYPE_INTEGER64:
            return "int64";
        default:
            return "unknown";
    }
}

// The card's controls in alsa-lib's order, each name once: a control that shares its name with an
// earlier one cannot be reached by name. 0 or alsa-lib's negative error.
int ListControls(int card, std::vector<Control>* controls) {
    snd_ctl_t* handle = nullptr;
    int result = snd_ctl_open(&handle, ("hw:" + std::to_string(card)).c_str(), 0);
    if (result < 0) return result;
    snd_ctl_elem_list_t* list;
    snd_ctl_elem_list_alloca(&list);
    snd_ctl_elem_info_t* info;
    snd_ctl_elem_info_alloca(&info);
    result = snd_ctl_elem_list(handle, list);
    if (result >= 0)
        result = snd_ctl_elem_list_alloc_space(list, snd_ctl_elem_list_get_count(list));
    if (result >= 0) result = snd_ctl_elem_list(handle, list);
    const unsigned int used = result < 0 ? 0 : snd_ctl_elem_list_get_used(list);
    for (unsigned int i = 0; i < used && result >= 0; ++i) {
        snd_ctl_elem_info_set_numid(info, snd_ctl_elem_list_get_numid(list, i));
        result = snd_ctl_elem_info(handle, info);
        if (result < 0) break;
        std::string name = snd_ctl_elem_info_get_name(info);
        const auto same_name = [&name](const Control& c) { return c.name == name; };
        if (std::any_of(controls->begin(), controls->end(), same_name)) continue;
        controls->push_back({std::move(name), snd_ctl_elem_info_get_numid(info),
                             snd_ctl_elem_info_get_type(info), snd_ctl_elem_info_get_count(info)});
    }
    snd_ctl_elem_list_free_space(list);
    snd_ctl_close(handle);
    return result < 0 ? result : 0;
}

// 0 when the driver reads the control's value, else alsa-lib's negative error.
int ReadInDriver(int card, const Control& control) {
    snd_ctl_t* handle = nullptr;
    int result = snd_ctl_open(&handle, ("hw:" + std::to_string(card)).c_str(), 0);
    if (result < 0) return result;
    snd_ctl_elem_value_t* value;
    snd_ctl_elem_value_alloca(&value);
    snd_ctl_elem_value_set_numid(value, control.numid);
    result = snd_ctl_elem_read(handle, value);
    snd_ctl_close(handle);
    return result < 0 ? result : 0;
}

std::string Join(const std::vector<std::string_view>& texts) {
    std::string joined;
    for (std::string_view text : texts) {
        if (!joined.empty()) joined += ", ";
        joined += text;
    }
    return joined;
}

// The control's value as the mixer reads it: the selected item's text, every byte, or the first
// integer. With `details`, the items of an enumerated control and the count of integers follow.
Value ReadValue(TinyalsaMixer& mixer, int card, const Control& control, bool details) {
    if (control.type == SND_CTL_ELEM_TYPE_ENUMERATED) {
        const std::optional<std::string_view> item = mixer.GetEnum(control.name);
        if (!item.has_value()) return {};
        std::string text(*item);
        if (details) text += " [" + Join(mixer.GetEnums(control.name)) + "]";
        return {text, "", {}};
    }
    if (control.type == SND_CTL_ELEM_TYPE_BYTES) {
        std::vector<char> bytes(control.count);
        if (!mixer.GetByteValues(control.name, bytes.data(), static_cast<int>(bytes.size()))) {
            return {};
        }
        Value value{std::string(), "", {}};
        for (const char byte : bytes) {
            if (!value.text->empty()) *value.text += ' ';
            value.numbers.push_back(static_cast<unsigned char>(byte));
            *value.text += std::to_string(value.numbers.back());
        }
        return value;
    }
    const std::optional<long> value = mixer.GetIntegerValue(control.name);
    if (!value.has_value()) return {};
    // tinyalsa returns a failed driver read as the value -1.
    if (*value == -1) {
        if (const int error = ReadInDriver(card, control); error < 0) {
            return {std::nullopt, snd_strerror(error), {}};
        }
    }
    std::string text = std::to_string(*value);
    if (details && control.count > 1) text += " (first of " + std::to_string(control.count) + ")";
    return {text, "", {*value}};
}

void PrintList(TinyalsaMixer& mixer, int card, const std::vector<Control>& controls) {
    size_t width = 4;
    for (const Control& control : controls) width = std::max(width, control.name.size());
    std::cout << "card " << card << ": " << mixer.GetName().value_or("") << "\n"
              << std::left << std::setw(static_cast<int>(width) + 2) << "name" << std::setw(9)
              << "type" << std::setw(7) << "count"
              << "value\n";
    for (const Control& control : controls) {
        std::cout << std::setw(static_cast<int>(width) + 2) << control.name << std::setw(9)
                  << TypeName(control.type) << std::setw(7) << control.count
                  << ReadValue(mixer, card, control, true).text.value_or("-") << "\n";
    }
}

// The value as JSON: a number (the first of an integer or bool control), an array of bytes, or
// an item's text with the items beside it; null when it cannot be read.
void PrintListJson(TinyalsaMixer& mixer, int card, const std::vector<Control>& controls) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Control& control : controls) {
        nlohmann::ordered_json entry = {
                {"name", control.name}, {"type", TypeName(control.type)}, {"count", control.count}};
        const Value value = ReadValue(mixer, card, control, false);
        if (!value.text.has_value()) {
            entry["value"] = nullptr;
        } else if (control.type == SND_CTL_ELEM_TYPE_ENUMERATED) {
            entry["value"] = *value.text;
            entry["items"] = mixer.GetEnums(control.name);
        } else if (control.type == SND_CTL_ELEM_TYPE_BYTES) {
            entry["value"] = value.numbers;
        } else {
            entry["value"] = value.numbers.front();
        }
        list.push_back(std::move(entry));
    }
    PrintJson({{"card", card},
               {"name", std::string(mixer.GetName().value_or(""))},
               {"controls", std::move(list)}});
}

// Parses one value per element of the control, or one value for all of them.
std::optional<std::vector<long>> ParseValues(const Args& texts, const Control& control, int64_t min,
                                             int64_t max, std::string* error) {
    if (texts.size() != 1 && texts.size() != control.count) {
        *error = "'" + control.name + "' has " + std::to_string(control.count) +
                 " values: give 1 or " + std::to_string(control.count);
        return std::nullopt;
    }
    std::vector<long> values;
    for (std::string_view text : texts) {
        const std::optional<int64_t> value = ParseNumber(text, min, max);
        if (!value.has_value()) {
            *error = "invalid value '" + std::string(text) + "' for " + TypeName(control.type) +
                     " control '" + control.name + "'";
            return std::nullopt;
        }
        values.push_back(static_cast<long>(*value));
    }
    values.resize(control.count, values.front());
    return values;
}

int Set(TinyalsaMixer& mixer, int card, const Control& control, const Args& texts) {
    std::string given;
    for (std::string_view text : texts) given += (given.empty() ? "" : " ") + std::string(text);
    const std::string refused =
            "card " + std::to_string(card) + " refused '" + given + "' for '" + control.name + "'";
    if (control.type == SND_CTL_ELEM_TYPE_ENUMERATED) {
        if (texts.size() != 1) {
            return UsageError(kMixerCommand, "'" + control.name + "' takes one item text");
        }
        const std::string item(texts[0]);
        if (mixer.SetEnum(control.name, item)) return kExitSuccess;
        const std::vector<std::string_view> items = mixer.GetEnums(control.name);
        if (std::find(items.begin(), items.end(), item) == items.end()) {
            return Failure(kMixerCommand, "'" + item + "' is not an item of '" + control.name +
                                                  "' (" + Join(items) + ")");
        }
        return Failure(kMixerCommand, refused);
    }
    const bool bytes = control.type == SND_CTL_ELEM_TYPE_BYTES;
    if (!bytes && control.type != SND_CTL_ELEM_TYPE_INTEGER &&
        control.type != SND_CTL_ELEM_TYPE_BOOLEAN) {
        return Failure(kMixerCommand, "'" + control.name + "' is an " + TypeName(control.type) +
                                              " control, which tinyalsa cannot write");
    }
    std::string error;
    const std::optional<std::vector<long>> values =
            bytes ? ParseValues(texts, control, 0, UCHAR_MAX, &error)
                  : ParseValues(texts, control, LONG_MIN, LONG_MAX, &error);
    if (!values.has_value()) return UsageError(kMixerCommand, error);
    const int count = static_cast<int>(values->size());
    bool written;
    if (bytes) {
        const std::vector<char> chars(values->begin(), values->end());
        written = mixer.SetByteValues(control.name, chars.data(), count);
    } else {
        written = mixer.SetIntegerValues(control.name, values->data(), count);
    }
    return written ? kExitSuccess : Failure(kMixerCommand, refused);
}

void IgnoreAlsaError(const char*, int, const char*, int, const char*, ...) {}

int Run(int argc, char** argv) {
    static constexpr Option kOptions[] = {{"json", false}};
    int status = kExitSuccess;
    const std::optional<ParsedArguments> parsed =
            ParseCommandLine(kMixerCommand, argc, argv, kOptions, &status);
    if (!parsed.has_value()) return status;
    const Args& words = parsed->operands;
    if (words.empty()) return UsageError(kMixerCommand, "missing action: list, get or set");
    const std::string_view action = words[0];
    const size_t needed = action == "list" ? 2 : action == "get" ? 3 : action == "set" ? 4 : 0;
    if (needed == 0) {
        return UsageError(kMixerCommand, "unknown action '" + std::string(action) + "'");
    }
    if (words.size() < needed || (action != "set" && words.size() > needed)) {
        return UsageError(kMixerCommand, "wrong number of arguments for " + std::string(action));
    }
    if (parsed->Has("json") && action != "list") {
        return UsageError(kMixerCommand, "--json does not apply to " + std::string(action));
    }
    const std::optional<int64_t> number = ParseNumber(words[1], 0, INT_MAX);
    if (!number.has_value()) {
        return UsageError(kMixerCommand, "invalid card number '" + std::string(words[1]) + "'");
    }
    const int card = static_cast<int>(*number);

    // The tool reports failures itself, in one line each.
    snd_lib_error_set_handler(IgnoreAlsaError);
    std::vector<Control> controls;
    const int listed = ListControls(card, &controls);
    if (listed < 0) {
        return Failure(kMixerCommand, "cannot open sound card " + std::to_string(card) + ": " +
                                              snd_strerror(listed));
    }
    TinyalsaMixer mixer;
    if (!mixer.Open(card)) {
        return Failure(kMixerCommand, "cannot open the mixer of sound card " + std::to_string(card));
    }
    if (action == "list") {
        if (parsed->Has("json")) {
            PrintListJson(mixer, card, controls);
        } else {
            PrintList(mixer, card, controls);
        }
        return kExitSuccess;
    }

    const std::string name(words[2]);
    const auto found = std::find_if(controls.begin(), controls.end(),
                                    [&name](const Control& c) { return c.name == name; });
    if (found == controls.end()) {
        return Failure(kMixerCommand,
                       "card " + std::to_string(card) + " has no control '" + name + "'");
    }
    if (action == "set") return Set(mixer, card, *found, Args(words.begin() + 3, words.end()));
    const Value value = ReadValue(mixer, card, *found, false);
    if (!value.text.has_value()) {
        return Failure(kMixerCommand, "cannot read '" + name + "' of card " + std::to_string(card) +
                                              (value.error.empty() ? "" : ": " + value.error));
    }
    std::cout << *value.text << "\n";
    return kExitSuccess;
}

}  // namespace

const Command kMixerCommand = {
        "mixer",
        "list, read and write the mixer controls of a sound card",
        "usage: autl mixer list [--json] CARD\n"
        "       autl mixer get CARD CONTROL\n"
        "       autl mixer set CARD CONTROL VALUE...\n"
        "\n"
        "Reads and writes the mixer controls of sound card number CARD through the library's\n"
        "TinyalsaMixer, by name.\n"
        "\n"
        "  list  every control with its type, value count and value (- when it cannot be\n"
        "        read); with --json as one JSON object\n"
        "  get   the value: the first value of an integer or bool control, every byte of a\n"
        "        bytes control (0 to 255), the selected item of an enum control\n"
        "  set   an integer, bool or bytes control: one VALUE for each of its values, or one\n"
        "        VALUE for all of them (a negative VALUE is a value, not an option); an enum\n"
        "        control: the text of an item\n"
        "\n"
        "Of several controls with one name, only the first can be reached.\n"
        "Exit status: 0 done, 1 no such card or control or the card refused, 2 usage error.\n",
        Run,
};

}  // namespace autl
