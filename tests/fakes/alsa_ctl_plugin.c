// A sound card for alsa-lib without hardware: an external control plugin (type "autl_fake") that
// serves a fixed set of mixer controls for cards 0 to 7, each card with its own values. The tests
// select it for "hw:N" through an ALSA configuration of their own (fake_alsa_card.h).
//
// Values live as long as the plugin stays loaded, across closing and opening a card, as a real
// card's would. With a "state" file in the configuration they also outlive the process: every
// open loads the file, if it exists, and every write saves it, so that one program can read what
// another wrote. Two entry points for the tests: autl_fake_ctl_reset() puts every card back to its
// first values, and autl_fake_ctl_add_late_control(card) lists one more control on a card.
#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// The callbacks take what alsa-lib passes, used or not.
#pragma GCC diagnostic ignored "-Wunused-parameter"

// Positions in kControls.
enum { kFaultyLevel = 7, kLateSwitch, kControlCount };

#define CARD_COUNT 8
#define MAX_VALUES 8

static const struct control {
    const char* name;
    unsigned int index;
    snd_ctl_elem_type_t type;
    unsigned int count;
    long min;
    long max;
    long first[MAX_VALUES];
} kControls[kControlCount] = {
        {"Speaker Volume", 0, SND_CTL_ELEM_TYPE_INTEGER, 2, -10, 100, {50, 60}},
        {"Codec Blob", 0, SND_CTL_ELEM_TYPE_BYTES, 8, 0, 255, {1, 2, 3, 4, 127, 128, 254, 255}},
        {"Route Select", 0, SND_CTL_ELEM_TYPE_ENUMERATED, 1, 0, 2, {1}},
        {"Mute Switch", 0, SND_CTL_ELEM_TYPE_BOOLEAN, 1, 0, 1, {0}},
        {"Big Counter", 0, SND_CTL_ELEM_TYPE_INTEGER64, 1, 0, INT64_MAX, {5000000000}},
        {"Dup Gain", 0, SND_CTL_ELEM_TYPE_INTEGER, 1, 0, 10, {3}},
        {"Dup Gain", 1, SND_CTL_ELEM_TYPE_INTEGER, 1, 0, 10, {7}},
        // Every read and write fails in the driver (-EIO).
        {"Faulty Level", 0, SND_CTL_ELEM_TYPE_INTEGER, 1, 0, 100, {0}},
        // Listed only after autl_fake_ctl_add_late_control.
        {"Late Switch", 0, SND_CTL_ELEM_TYPE_BOOLEAN, 1, 0, 1, {0}},
};

static const char* const kRouteItems[] = {"Off", "Speaker", "Headset"};

struct card {
    // The values of every type; bytes are 0..255.
    long values[kControlCount][MAX_VALUES];
    unsigned int listed;
};

static struct card cards[CARD_COUNT];
static char state_path[4096];

// Loads ("rb") or saves ("wb") every card's values when the configuration names a state file.
static void State(const char* mode) {
    FILE* file = state_path[0] != '\0' ? fopen(state_path, mode) : NULL;
    if (file == NULL) return;
    struct card loaded[CARD_COUNT];
    if (mode[0] == 'w') {
        fwrite(cards, sizeof(cards), 1, file);
    } else if (fread(loaded, sizeof(loaded), 1, file) == 1) {
        memcpy(cards, loaded, sizeof(cards));
    }
    fclose(file);
}

// Also run when the plugin is loaded.
__attribute__((constructor)) void autl_fake_ctl_reset(void) {
    for (int card = 0; card < CARD_COUNT; ++card) {
        for (int key = 0; key < kControlCount; ++key) {
            memcpy(cards[card].values[key], kControls[key].first, sizeof(kControls[key].first));
        }
        cards[card].listed = kLateSwitch;
    }
}

void autl_fake_ctl_add_late_control(int card) {
    if (card < 0 || card >= CARD_COUNT) return;
    cards[card].listed = kControlCount;
    State("wb");
}

static struct card* Card(snd_ctl_ext_t* ext) {
    return ext->private_data;
}

static int ElemCount(snd_ctl_ext_t* ext) {
    return (int)Card(ext)->listed;
}

static int ElemList(snd_ctl_ext_t* ext, unsigned int offset, snd_ctl_elem_id_t* id) {
    if (offset >= Card(ext)->listed) return -EINVAL;
    snd_ctl_elem_id_set_interface(id, SND_CTL_ELEM_IFACE_MIXER);
    snd_ctl_elem_id_set_name(id, kControls[offset].name);
    snd_ctl_elem_id_set_index(id, kControls[offset].index);
    return 0;
}

static snd_ctl_ext_key_t FindElem(snd_ctl_ext_t* ext, const snd_ctl_elem_id_t* id) {
    const unsigned int numid = snd_ctl_elem_id_get_numid(id);
    if (numid > 0) return numid <= Card(ext)->listed ? numid - 1 : SND_CTL_EXT_KEY_NOT_FOUND;
    for (unsigned int key = 0; key < Card(ext)->listed; ++key) {
        if (strcmp(kControls[key].name, snd_ctl_elem_id_get_name(id)) == 0 &&
            kControls[key].index == snd_ctl_elem_id_get_index(id)) {
            return key;
        }
    }
    return SND_CTL_EXT_KEY_NOT_FOUND;
}

static int GetAttribute(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, int* type, unsigned int* acc,
                        unsigned int* count) {
    *type = kControls[key].type;
    *acc = SND_CTL_EXT_ACCESS_READWRITE;
    *count = kControls[key].count;
    return 0;
}

static int GetEnumeratedInfo(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned int* items) {
    *items = 3;
    return 0;
}

static int GetEnumeratedName(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned int item,
                             char* name, size_t name_max_len) {
    if (item >= 3) return -EINVAL;
    snprintf(name, name_max_len, "%s", kRouteItems[item]);
    return 0;
}

// Copies the values of a control out, or checks and stores new ones (1 when they changed).
static int ReadValues(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* out) {
    if (key == kFaultyLevel) return -EIO;
    memcpy(out, Card(ext)->values[key], kControls[key].count * sizeof(long));
    return 0;
}

static int WriteValues(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* in) {
    if (key == kFaultyLevel) return -EIO;
    const struct control* control = &kControls[key];
    for (unsigned int i = 0; i < control->count; ++i) {
        if (in[i] < control->min || in[i] > control->max) return -EINVAL;
    }
    long* values = Card(ext)->values[key];
    const int changed = memcmp(values, in, control->count * sizeof(long)) != 0;
    memcpy(values, in, control->count * sizeof(long));
    State("wb");
    return changed;
}

// Reads and writes of enumerated values, and the integer ranges. No test reads or writes the
// 64-bit control: tinyalsa refuses it before the driver.
#define ACCESS(Name, Type)                                                        \
    static int Read##Name(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, Type* out) { \
        long value = 0;                                                           \
        const int result = ReadValues(ext, key, &value);                          \
        *out = (Type)value;                                                       \
        return result;                                                            \
    }                                                                             \
    static int Write##Name(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, Type* in) { \
        long value = (long)*in;                                                   \
        return WriteValues(ext, key, &value);                                     \
    }
#define RANGE(Name, Type)                                                                       \
    static int Get##Name##Info(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, Type* min, Type* max, \
                               Type* step) {                                                    \
        *min = kControls[key].min;                                                              \
        *max = kControls[key].max;                                                              \
        *step = 1;                                                                              \
        return 0;                                                                               \
    }
ACCESS(Enumerated, unsigned int)
RANGE(Integer, long)
RANGE(Integer64, int64_t)

static int ReadBytes(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned char* data,
                     size_t max_bytes) {
    long values[MAX_VALUES];
    const int result = ReadValues(ext, key, values);
    for (unsigned int i = 0; i < kControls[key].count && i < max_bytes; ++i) data[i] = values[i];
    return result;
}

static int WriteBytes(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned char* data,
                      size_t max_bytes) {
    long values[MAX_VALUES] = {0};
    for (unsigned int i = 0; i < kControls[key].count && i < max_bytes; ++i) values[i] = data[i];
    return WriteValues(ext, key, values);
}

static void Close(snd_ctl_ext_t* ext) {
    free(ext);
}

static const snd_ctl_ext_callback_t kCallbacks = {
        .close = Close,
        .elem_count = ElemCount,
        .elem_list = ElemList,
        .find_elem = FindElem,
        .get_attribute = GetAttribute,
        .get_integer_info = GetIntegerInfo,
        .get_integer64_info = GetInteger64Info,
        .get_enumerated_info = GetEnumeratedInfo,
        .get_enumerated_name = GetEnumeratedName,
        .read_integer = ReadValues,
        .read_enumerated = ReadEnumerated,
        .read_bytes = ReadBytes,
        .write_integer = WriteValues,
        .write_enumerated = WriteEnumerated,
        .write_bytes = WriteBytes,
};

// The fields "card" (a number, given as text by the @args of a ctl definition) and "state"; any
// other field is ignored.
SND_CTL_PLUGIN_DEFINE_FUNC(autl_fake) {
    long number = 0;
    const char* state = "";
    snd_config_iterator_t i, next;
    snd_config_for_each(i, next, conf) {
        const char *id, *text;
        if (snd_config_get_id(snd_config_iterator_entry(i), &id) < 0 ||
            snd_config_get_string(snd_config_iterator_entry(i), &text) < 0) {
            continue;
        }
        if (strcmp(id, "card") == 0) number = strtol(text, NULL, 10);
        if (strcmp(id, "state") == 0) state = text;
    }
    if (number < 0 || number >= CARD_COUNT) return -ENODEV;
    snprintf(state_path, sizeof(state_path), "%s", state);
    State("rb");

    snd_ctl_ext_t* ext = calloc(1, sizeof(*ext));
    if (ext == NULL) return -ENOMEM;
    ext->version = SND_CTL_EXT_VERSION;
    ext->card_idx = (int)number;
    snprintf(ext->id, sizeof(ext->id), "AutlFake%ld", number);
    snprintf(ext->name, sizeof(ext->name), "Test Card %ld", number);
    ext->poll_fd = -1;
    ext->callback = &kCallbacks;
    ext->private_data = &cards[number];
    const int result = snd_ctl_ext_create(ext, name, mode);
    if (result < 0) {
        free(ext);
        return result;
    }
    *handlep = ext->handle;
    return 0;
}

SND_CTL_PLUGIN_SYMBOL(autl_fake);
