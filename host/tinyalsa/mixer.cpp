// tinyalsa's mixer calls over alsa-lib's control interface. Card N is alsa-lib's control device
// "hw:N": on a host with a sound card that is the card's driver, and an ALSA configuration may
// route it elsewhere (the tests route it to a control plugin). tinyalsa's return conventions are
// kept: its own argument checks give -EINVAL, and every failure that alsa-lib reports (alsa-lib's
// -errno) becomes -1 with errno set, as a failed ioctl does in tinyalsa. Like tinyalsa, it prints
// nothing: alsa-lib's own error lines ("ALSA lib ...") are kept off standard error.

#include <tinyalsa/mixer.h>

#include <stdarg.h>
// alsa-lib 1.2.8 declares snd_lib_error_set_local after the end of its extern "C" block.
extern "C" {
#include <alsa/error.h>
}
#include <alsa/asoundlib.h>
#include <errno.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

namespace {

struct ElemInfoDeleter {
    void operator()(snd_ctl_elem_info_t* info) const { snd_ctl_elem_info_free(info); }
};
using ElemInfo = std::unique_ptr<snd_ctl_elem_info_t, ElemInfoDeleter>;

}  // namespace

struct mixer_ctl {
    struct mixer* owner;
    // Name, type, value count and item count, read when the control was listed.
    ElemInfo info;
    // The item texts of an enumerated control, read on first use and kept until mixer_close.
    std::vector<std::string> item_names;
    bool item_names_read = false;
};

struct mixer {
    ~mixer() { snd_ctl_close(handle); }

    snd_ctl_t* handle;
    std::string name;
    // Held by pointer, so that controls handed out stay valid when more are listed.
    std::vector<std::unique_ptr<mixer_ctl>> ctls;
};

namespace {

// Silences alsa-lib on this thread for one call. A handler set by the application for the whole
// process (snd_lib_error_set_handler) still gets every error.
class QuietAlsa {
  public:
    QuietAlsa() : previous_(snd_lib_error_set_local(Ignore)) {}
    ~QuietAlsa() { snd_lib_error_set_local(previous_); }
    QuietAlsa(const QuietAlsa&) = delete;
    QuietAlsa& operator=(const QuietAlsa&) = delete;

  private:
    static void Ignore(const char*, int, const char*, int, const char*, va_list) {}

    snd_local_error_handler_t previous_;
};

int DriverFailure(int alsa_error) {
    errno = -alsa_error;
    return -1;
}

snd_ctl_elem_type_t Type(const mixer_ctl* ctl) {
    return snd_ctl_elem_info_get_type(ctl->info.get());
}

// Lists the card's controls and appends those past the ones already known. 0 when done or when
// nothing is new; -1 when the card has fewer controls than known or a call fails (the controls
// appended before the failure stay).
int ListNewControls(struct mixer* mixer) {
    snd_ctl_elem_list_t* list;
    snd_ctl_elem_list_alloca(&list);
    int result = snd_ctl_elem_list(mixer->handle, list);
    if (result < 0) return DriverFailure(result);
    const unsigned int count = snd_ctl_elem_list_get_count(list);
    const size_t known = mixer->ctls.size();
    if (count < known) return -1;
    if (count == known) return 0;

    snd_ctl_elem_list_set_offset(list, static_cast<unsigned int>(known));
    result = snd_ctl_elem_list_alloc_space(list, count - static_cast<unsigned int>(known));
    if (result < 0) return DriverFailure(result);
    result = snd_ctl_elem_list(mixer->handle, list);
    const unsigned int used = result < 0 ? 0 : snd_ctl_elem_list_get_used(list);
    for (unsigned int i = 0; i < used && result >= 0; ++i) {
        snd_ctl_elem_info_t* raw_info = nullptr;
        result = snd_ctl_elem_info_malloc(&raw_info);
        if (result < 0) break;
        ElemInfo info(raw_info);
        snd_ctl_elem_info_set_numid(info.get(), snd_ctl_elem_list_get_numid(list, i));
        result = snd_ctl_elem_info(mixer->handle, info.get());
        if (result < 0) break;
        auto ctl = std::make_unique<mixer_ctl>();
        ctl->owner = mixer;
        ctl->info = std::move(info);
        mixer->ctls.push_back(std::move(ctl));
    }
    snd_ctl_elem_list_free_space(list);
    return result < 0 ? DriverFailure(result) : 0;
}

// Points value at the control; alsa-lib refuses (by assertion) a value without an id.
void SetId(const mixer_ctl* ctl, snd_ctl_elem_value_t* value) {
    snd_ctl_elem_id_t* id;
    snd_ctl_elem_id_alloca(&id);
    snd_ctl_elem_info_get_id(ctl->info.get(), id);
    snd_ctl_elem_value_set_id(value, id);
}

int Read(const mixer_ctl* ctl, snd_ctl_elem_value_t* value) {
    SetId(ctl, value);
    const int result = snd_ctl_elem_read(ctl->owner->handle, value);
    return result < 0 ? DriverFailure(result) : 0;
}

// snd_ctl_elem_write answers 1 when the value changed; tinyalsa answers 0 either way.
int Write(mixer_ctl* ctl, snd_ctl_elem_value_t* value) {
    SetId(ctl, value);
    const int result = snd_ctl_elem_write(ctl->owner->handle, value);
    return result < 0 ? DriverFailure(result) : 0;
}

int ReadItemNames(mixer_ctl* ctl) {
    if (ctl->item_names_read) return 0;
    snd_ctl_elem_info_t* item;
    snd_ctl_elem_info_alloca(&item);
    const unsigned int items = snd_ctl_elem_info_get_items(ctl->info.get());
    std::vector<std::string> names;
    names.reserve(items);
    for (unsigned int i = 0; i < items; ++i) {
        snd_ctl_elem_info_copy(item, ctl->info.get());
        snd_ctl_elem_info_set_item(item, i);
        const int result = snd_ctl_elem_info(ctl->owner->handle, item);
        if (result < 0) return DriverFailure(result);
        names.emplace_back(snd_ctl_elem_info_get_item_name(item));
    }
    ctl->item_names = std::move(names);
    ctl->item_names_read = true;
    return 0;
}

// The checks that mixer_ctl_get_array and mixer_ctl_set_array make before touching the driver.
bool IsArrayAccessible(const mixer_ctl* ctl, const void* array, size_t count) {
    if (ctl == nullptr || array == nullptr || count == 0) return false;
    if (count > snd_ctl_elem_info_get_count(ctl->info.get())) return false;
    const snd_ctl_elem_type_t type = Type(ctl);
    return type == SND_CTL_ELEM_TYPE_BOOLEAN || type == SND_CTL_ELEM_TYPE_INTEGER ||
           type == SND_CTL_ELEM_TYPE_BYTES || type == SND_CTL_ELEM_TYPE_IEC958;
}

}  // namespace

struct mixer* mixer_open(unsigned int card) {
    const QuietAlsa quiet;
    const std::string device = "hw:" + std::to_string(card);
    snd_ctl_t* handle = nullptr;
    int result = snd_ctl_open(&handle, device.c_str(), 0);
    if (result < 0) {
        errno = -result;
        return nullptr;
    }
    auto opened = std::make_unique<struct mixer>();
    opened->handle = handle;

    snd_ctl_card_info_t* card_info;
    snd_ctl_card_info_alloca(&card_info);
    result = snd_ctl_card_info(handle, card_info);
    if (result >= 0) {
        opened->name = snd_ctl_card_info_get_name(card_info);
        if (ListNewControls(opened.get()) == 0) return opened.release();
        result = -errno;
    }
    opened.reset();  // closing may change errno
    errno = -result;
    return nullptr;
}

void mixer_close(struct mixer* mixer) {
    const QuietAlsa quiet;
    delete mixer;
}

int mixer_add_new_ctls(struct mixer* mixer) {
    const QuietAlsa quiet;
    return mixer == nullptr ? 0 : ListNewControls(mixer);
}

const char* mixer_get_name(const struct mixer* mixer) {
    return mixer == nullptr ? nullptr : mixer->name.c_str();
}

struct mixer_ctl* mixer_get_ctl_by_name(struct mixer* mixer, const char* name) {
    if (mixer == nullptr || name == nullptr) return nullptr;
    for (const auto& ctl : mixer->ctls) {
        if (strcmp(snd_ctl_elem_info_get_name(ctl->info.get()), name) == 0) return ctl.get();
    }
    return nullptr;
}

enum mixer_ctl_type mixer_ctl_get_type(const struct mixer_ctl* ctl) {
    if (ctl == nullptr) return MIXER_CTL_TYPE_UNKNOWN;
    switch (Type(ctl)) {
        case SND_CTL_ELEM_TYPE_BOOLEAN:
            return MIXER_CTL_TYPE_BOOL;
        case SND_CTL_ELEM_TYPE_INTEGER:
            return MIXER_CTL_TYPE_INT;
        case SND_CTL_ELEM_TYPE_ENUMERATED:
            return MIXER_CTL_TYPE_ENUM;
        case SND_CTL_ELEM_TYPE_BYTES:
            return MIXER_CTL_TYPE_BYTE;
        case SND_CTL_ELEM_TYPE_IEC958:
            return MIXER_CTL_TYPE_IEC958;
        case SND_CTL_ELEM_TYPE_INTEGER64:
            return MIXER_CTL_TYPE_INT64;
        default:
            return MIXER_CTL_TYPE_UNKNOWN;
    }
}

int mixer_ctl_get_array(const struct mixer_ctl* ctl, void* array, size_t count) {
    if (!IsArrayAccessible(ctl, array, count)) return -EINVAL;
    const QuietAlsa quiet;
    snd_ctl_elem_value_t* value;
    snd_ctl_elem_value_alloca(&value);
    const int result = Read(ctl, value);
    if (result != 0) return result;
    if (Type(ctl) == SND_CTL_ELEM_TYPE_BYTES) {
        memcpy(array, snd_ctl_elem_value_get_bytes(value), count);
    } else if (Type(ctl) == SND_CTL_ELEM_TYPE_IEC958) {
        // A value holds one block, the only one an IEC958 control has; tinyalsa copies count
        // blocks from the value all the same.
        snd_aes_iec958_t block;
        snd_ctl_elem_value_get_iec958(value, &block);
        for (size_t i = 0; i < count; ++i) {
            memcpy(static_cast<snd_aes_iec958_t*>(array) + i, &block, sizeof(block));
        }
    } else {
        long* values = static_cast<long*>(array);
        for (size_t i = 0; i < count; ++i) {
            values[i] = snd_ctl_elem_value_get_integer(value, static_cast<unsigned int>(i));
        }
    }
    return 0;
}

int mixer_ctl_get_value(const struct mixer_ctl* ctl, unsigned int id) {
    if (ctl == nullptr || id >= snd_ctl_elem_info_get_count(ctl->info.get())) return -EINVAL;
    const snd_ctl_elem_type_t type = Type(ctl);
    if (type != SND_CTL_ELEM_TYPE_BOOLEAN && type != SND_CTL_ELEM_TYPE_INTEGER &&
        type != SND_CTL_ELEM_TYPE_ENUMERATED && type != SND_CTL_ELEM_TYPE_BYTES) {
        return -EINVAL;
    }
    const QuietAlsa quiet;
    snd_ctl_elem_value_t* value;
    snd_ctl_elem_value_alloca(&value);
    const int result = Read(ctl, value);
    if (result != 0) return result;
    switch (type) {
        case SND_CTL_ELEM_TYPE_BOOLEAN:
            return snd_ctl_elem_value_get_boolean(value, id) != 0 ? 1 : 0;
        case SND_CTL_ELEM_TYPE_INTEGER:
            return static_cast<int>(snd_ctl_elem_value_get_integer(value, id));
        case SND_CTL_ELEM_TYPE_ENUMERATED:
            return static_cast<int>(snd_ctl_elem_value_get_enumerated(value, id));
        default:
            return snd_ctl_elem_value_get_byte(value, id);
    }
}

unsigned int mixer_ctl_get_num_values(const struct mixer_ctl* ctl) {
    return ctl == nullptr ? 0 : snd_ctl_elem_info_get_count(ctl->info.get());
}

// tinyalsa reads the item count from the control's information whatever the control's type. The
// count shares a union with the integer ranges: on a little-endian target an integer control's
// slot holds the low 32 bits of its minimum; boolean controls have a minimum of 0, and the other
// types leave the slot as tinyalsa cleared it. alsa-lib asserts on reading either field of a
// control of another type, so each is read by type.
unsigned int mixer_ctl_get_num_enums(const struct mixer_ctl* ctl) {
    if (ctl == nullptr) return 0;
    switch (Type(ctl)) {
        case SND_CTL_ELEM_TYPE_ENUMERATED:
            return snd_ctl_elem_info_get_items(ctl->info.get());
        case SND_CTL_ELEM_TYPE_INTEGER:
            return static_cast<unsigned int>(snd_ctl_elem_info_get_min(ctl->info.get()));
        case SND_CTL_ELEM_TYPE_INTEGER64:
            return static_cast<unsigned int>(snd_ctl_elem_info_get_min64(ctl->info.get()));
        default:
            return 0;
    }
}

const char* mixer_ctl_get_enum_string(struct mixer_ctl* ctl, unsigned int enum_id) {
    if (ctl == nullptr || Type(ctl) != SND_CTL_ELEM_TYPE_ENUMERATED ||
        mixer_ctl_get_num_enums(ctl) <= enum_id) {
        return nullptr;
    }
    const QuietAlsa quiet;
    if (ReadItemNames(ctl) != 0) return nullptr;
    return ctl->item_names[enum_id].c_str();
}

int mixer_ctl_set_array(struct mixer_ctl* ctl, const void* array, size_t count) {
    if (!IsArrayAccessible(ctl, array, count)) return -EINVAL;
    const QuietAlsa quiet;
    snd_ctl_elem_value_t* value;
    snd_ctl_elem_value_alloca(&value);
    if (Type(ctl) == SND_CTL_ELEM_TYPE_IEC958) {
        // A value holds one block; tinyalsa copies count blocks into it, of which the first counts.
        snd_ctl_elem_value_set_iec958(value, static_cast<const snd_aes_iec958_t*>(array));
    } else if (Type(ctl) == SND_CTL_ELEM_TYPE_BYTES) {
        const unsigned char* bytes = static_cast<const unsigned char*>(array);
        for (size_t i = 0; i < count; ++i) {
            snd_ctl_elem_value_set_byte(value, static_cast<unsigned int>(i), bytes[i]);
        }
    } else {
        const long* values = static_cast<const long*>(array);
        for (size_t i = 0; i < count; ++i) {
            snd_ctl_elem_value_set_integer(value, static_cast<unsigned int>(i), values[i]);
        }
    }
    return Write(ctl, value);
}

int mixer_ctl_set_enum_by_string(struct mixer_ctl* ctl, const char* string) {
    if (ctl == nullptr || string == nullptr || Type(ctl) != SND_CTL_ELEM_TYPE_ENUMERATED) {
        return -EINVAL;
    }
    const QuietAlsa quiet;
    const int result = ReadItemNames(ctl);
    if (result != 0) return result;
    for (size_t i = 0; i < ctl->item_names.size(); ++i) {
        if (ctl->item_names[i] == string) {
            snd_ctl_elem_value_t* value;
            snd_ctl_elem_value_alloca(&value);
            snd_ctl_elem_value_set_enumerated(value, 0, static_cast<unsigned int>(i));
            return Write(ctl, value);
        }
    }
    return -EINVAL;
}
