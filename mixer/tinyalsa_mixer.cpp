#include <mixer/tinyalsa_mixer.h>

#include <sound/asound.h>
#include <tinyalsa/asoundlib.h>

#include <cerrno>
#include <cstddef>

namespace vendor::zentro::tevrash::audio::hal::utils::mixer {

namespace {

// tinyalsa copies a control's values as its type has them: a long each for boolean and integer
// controls, a byte each for byte controls, a whole IEC958 block each for IEC958 controls. Byte
// buffers are handed only to byte controls, so that no other type writes past their end.
bool IsByteControl(mixer_ctl* ctl) {
    return mixer_ctl_get_type(ctl) == MIXER_CTL_TYPE_BYTE;
}

}  // namespace

TinyalsaMixer::TinyalsaMixer() : card_(-1), mixer_(nullptr) {}

TinyalsaMixer::~TinyalsaMixer() {
    TinyalsaMixer::Close();
}

bool TinyalsaMixer::Open(int card) {
    std::lock_guard lock(mutex_);
    // A card number is opened once: a second Open of it fails even after Close or a failed Open.
    if (card == card_ || mixer_ != nullptr) return false;
    card_ = card;
    mixer_ = mixer_open(static_cast<unsigned int>(card));
    return mixer_ != nullptr;
}

void TinyalsaMixer::Close() {
    std::lock_guard lock(mutex_);
    if (mixer_ == nullptr) return;
    mixer_close(mixer_);
    mixer_ = nullptr;
}

bool TinyalsaMixer::UpdateControls() {
    std::lock_guard lock(mutex_);
    return mixer_ != nullptr && mixer_add_new_ctls(mixer_) == 0;
}

std::optional<long> TinyalsaMixer::GetIntegerValue(std::string_view name) {
    std::lock_guard lock(mutex_);
    if (mixer_ == nullptr) return std::nullopt;
    return GetValue(name);
}

bool TinyalsaMixer::GetByteValues(std::string_view name, char* values, int count) {
    std::lock_guard lock(mutex_);
    if (count < 1 || values == nullptr || mixer_ == nullptr) return false;
    mixer_ctl* ctl = mixer_get_ctl_by_name(mixer_, name.data());
    return ctl != nullptr && IsByteControl(ctl) &&
           mixer_ctl_get_array(ctl, values, static_cast<size_t>(count)) == 0;
}

std::optional<unsigned int> TinyalsaMixer::GetNumberOfValues(std::string_view name) {
    std::lock_guard lock(mutex_);
    if (mixer_ == nullptr) return std::nullopt;
    mixer_ctl* ctl = mixer_get_ctl_by_name(mixer_, name.data());
    if (ctl == nullptr) return std::nullopt;
    return mixer_ctl_get_num_values(ctl);
}

std::optional<std::string_view> TinyalsaMixer::GetEnum(std::string_view name) {
    std::lock_guard lock(mutex_);
    if (mixer_ == nullptr) return std::nullopt;
    mixer_ctl* ctl = mixer_get_ctl_by_name(mixer_, name.data());
    if (ctl == nullptr) return std::nullopt;
    const std::optional<long> index = GetValue(name);
    if (!index.has_value()) return std::nullopt;
    const char* text = mixer_ctl_get_enum_string(ctl, static_cast<unsigned int>(*index));
    if (text == nullptr) return std::nullopt;
    return std::string_view(text);
}

std::vector<std::string_view> TinyalsaMixer::GetEnums(std::string_view name) {
    std::lock_guard lock(mutex_);
    std::vector<std::string_view> texts;
    if (mixer_ == nullptr) return texts;
    mixer_ctl* ctl = mixer_get_ctl_by_name(mixer_, name.data());
    // tinyalsa reports an item count for every type of control: for an integer control it is a
    // part of the control's minimum, up to billions.
    if (ctl == nullptr || mixer_ctl_get_type(ctl) != MIXER_CTL_TYPE_ENUM) return texts;
    const unsigned int count = mixer_ctl_get_num_enums(ctl);
    texts.reserve(count);
    for (unsigned int i = 0; i < count; ++i) {
        const char* text = mixer_ctl_get_enum_string(ctl, i);
        if (text != nullptr) texts.emplace_back(text);
    }
    return texts;
}

std::optional<std::string_view> TinyalsaMixer::GetName() {
    std::lock_guard lock(mutex_);
    if (mixer_ == nullptr) return std::nullopt;
    const char* name = mixer_get_name(mixer_);
    if (name == nullptr) return std::nullopt;
    return std::string_view(name);
}

bool TinyalsaMixer::SetIntegerValue(std::string_view name, long value) {
    return SetIntegerValues(name, &value, 1);
}

bool TinyalsaMixer::SetIntegerValues(std::string_view name, const long* values, int count) {
    std::lock_guard lock(mutex_);
    return SetMixerControlArray(name, values, count, false);
}

bool TinyalsaMixer::SetByteValues(std::string_view name, const char* values, int count) {
    std::lock_guard lock(mutex_);
    return SetMixerControlArray(name, values, count, true);
}

bool TinyalsaMixer::SetEnum(std::string_view name, std::string_view value) {
    std::lock_guard lock(mutex_);
    if (mixer_ == nullptr) return false;
    mixer_ctl* ctl = mixer_get_ctl_by_name(mixer_, name.data());
    return ctl != nullptr && mixer_ctl_set_enum_by_string(ctl, value.data()) == 0;
}

std::optional<long> TinyalsaMixer::GetValue(std::string_view name) {
    mixer_ctl* ctl = mixer_get_ctl_by_name(mixer_, name.data());
    if (ctl == nullptr) return std::nullopt;
    // Room for one value of any type: an IEC958 control's is a whole block, whose first bytes are
    // then the result.
    union {
        long value;
        snd_aes_iec958 iec958;
    } read = {};
    if (mixer_ctl_get_array(ctl, &read, 1) == 0) return read.value;
    // Controls that tinyalsa cannot copy as an array (an enumerated control's selected item) are
    // read one value at a time. -EINVAL is tinyalsa refusing the control; any other answer,
    // negative or not, is taken as the value.
    const int single = mixer_ctl_get_value(ctl, 0);
    if (single == -EINVAL) return std::nullopt;
    return single;
}

// A negative count is handed on as tinyalsa's size_t, which it then refuses as too large. Bytes go
// to byte controls only; longs to any control but IEC958, whose blocks are larger than a long.
bool TinyalsaMixer::SetMixerControlArray(std::string_view name, const void* values, int count,
                                         bool bytes) {
    if (count == 0 || values == nullptr || mixer_ == nullptr) return false;
    mixer_ctl* ctl = mixer_get_ctl_by_name(mixer_, name.data());
    if (ctl == nullptr) return false;
    if (bytes ? !IsByteControl(ctl) : mixer_ctl_get_type(ctl) == MIXER_CTL_TYPE_IEC958) {
        return false;
    }
    return mixer_ctl_set_array(ctl, values, static_cast<size_t>(count)) == 0;
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::mixer
