#include "fake_tinyalsa.h"

#include <cerrno>
#include <cstring>

namespace {

// Records one call; returns the fake.
autl::test::FakeTinyalsa& Called(std::string call) {
    autl::test::FakeTinyalsa::current->calls.push_back(std::move(call));
    return *autl::test::FakeTinyalsa::current;
}

std::string Describe(const mixer_ctl* ctl, size_t number) {
    return ctl->name + ", " + std::to_string(number);
}

bool IsArrayAccessible(const mixer_ctl* ctl, const void* array, size_t count) {
    return array != nullptr && count != 0 && count <= ctl->values.size() &&
           ctl->type != MIXER_CTL_TYPE_ENUM && ctl->type != MIXER_CTL_TYPE_INT64;
}

// The size of the kernel's struct snd_aes_iec958.
constexpr size_t kIec958Size = 176;

}  // namespace

struct mixer* mixer_open(unsigned int card) {
    auto& fake = Called("mixer_open(" + std::to_string(card) + ")");
    const auto it = fake.cards.find(card);
    if (it == fake.cards.end()) return nullptr;
    it->second.known_controls = it->second.controls.size();
    return &it->second;
}

void mixer_close(struct mixer* mixer) {
    Called("mixer_close(" + std::to_string(mixer->card) + ")");
}

int mixer_add_new_ctls(struct mixer* mixer) {
    Called("mixer_add_new_ctls(" + std::to_string(mixer->card) + ")");
    if (mixer->add_new_ctls_result.has_value()) return *mixer->add_new_ctls_result;
    mixer->known_controls = mixer->controls.size();
    return 0;
}

const char* mixer_get_name(const struct mixer* mixer) {
    Called("mixer_get_name(" + std::to_string(mixer->card) + ")");
    return mixer->name;
}

struct mixer_ctl* mixer_get_ctl_by_name(struct mixer* mixer, const char* name) {
    Called("mixer_get_ctl_by_name(" + std::to_string(mixer->card) + ", \"" + name + "\")");
    for (size_t i = 0; i < mixer->known_controls; ++i) {
        if (mixer->controls[i].name == name) return &mixer->controls[i];
    }
    return nullptr;
}

int mixer_ctl_get_array(const struct mixer_ctl* ctl, void* array, size_t count) {
    Called("mixer_ctl_get_array(" + Describe(ctl, count) + ")");
    if (ctl->get_array_result.has_value()) return *ctl->get_array_result;
    if (!IsArrayAccessible(ctl, array, count)) return -EINVAL;
    for (size_t i = 0; i < count; ++i) {
        if (ctl->type == MIXER_CTL_TYPE_BYTE) {
            static_cast<unsigned char*>(array)[i] = static_cast<unsigned char>(ctl->values[i]);
        } else if (ctl->type == MIXER_CTL_TYPE_IEC958) {
            std::memset(static_cast<char*>(array) + i * kIec958Size,
                        static_cast<int>(ctl->values[i]), kIec958Size);
        } else {
            static_cast<long*>(array)[i] = ctl->values[i];
        }
    }
    return 0;
}

int mixer_ctl_get_value(const struct mixer_ctl* ctl, unsigned int id) {
    Called("mixer_ctl_get_value(" + Describe(ctl, id) + ")");
    if (ctl->get_value_result.has_value()) return *ctl->get_value_result;
    if (id >= ctl->values.size() || ctl->type == MIXER_CTL_TYPE_INT64 ||
        ctl->type == MIXER_CTL_TYPE_IEC958) {
        return -EINVAL;
    }
    return static_cast<int>(ctl->values[id]);
}

unsigned int mixer_ctl_get_num_values(const struct mixer_ctl* ctl) {
    Called("mixer_ctl_get_num_values(" + ctl->name + ")");
    return static_cast<unsigned int>(ctl->values.size());
}

enum mixer_ctl_type mixer_ctl_get_type(const struct mixer_ctl* ctl) {
    Called("mixer_ctl_get_type(" + ctl->name + ")");
    return ctl->type;
}

// The item count shares its place in the control's info with an integer control's minimum.
unsigned int mixer_ctl_get_num_enums(const struct mixer_ctl* ctl) {
    Called("mixer_ctl_get_num_enums(" + ctl->name + ")");
    return ctl->type == MIXER_CTL_TYPE_ENUM ? static_cast<unsigned int>(ctl->items.size())
                                            : static_cast<unsigned int>(ctl->min);
}

const char* mixer_ctl_get_enum_string(struct mixer_ctl* ctl, unsigned int enum_id) {
    Called("mixer_ctl_get_enum_string(" + Describe(ctl, enum_id) + ")");
    return ctl->type == MIXER_CTL_TYPE_ENUM && enum_id < ctl->items.size() ? ctl->items[enum_id]
                                                                           : nullptr;
}

int mixer_ctl_set_array(struct mixer_ctl* ctl, const void* array, size_t count) {
    Called("mixer_ctl_set_array(" + Describe(ctl, count) + ")");
    if (!IsArrayAccessible(ctl, array, count)) return -EINVAL;
    for (size_t i = 0; i < ctl->values.size(); ++i) {
        if (i >= count) {
            ctl->values[i] = 0;
        } else if (ctl->type == MIXER_CTL_TYPE_BYTE) {
            ctl->values[i] = static_cast<const unsigned char*>(array)[i];
        } else if (ctl->type == MIXER_CTL_TYPE_IEC958) {
            // The last byte of each block, so that a buffer too short for it is read past its end.
            ctl->values[i] = static_cast<const unsigned char*>(array)[(i + 1) * kIec958Size - 1];
        } else {
            ctl->values[i] = static_cast<const long*>(array)[i];
        }
    }
    return 0;
}

int mixer_ctl_set_enum_by_string(struct mixer_ctl* ctl, const char* string) {
    Called("mixer_ctl_set_enum_by_string(" + ctl->name + ", \"" + string + "\")");
    for (size_t i = 0; i < ctl->items.size(); ++i) {
        if (ctl->items[i] != nullptr && std::strcmp(ctl->items[i], string) == 0) {
            ctl->values = {static_cast<long>(i)};
            return 0;
        }
    }
    return -EINVAL;
}
