/*
 * A sound card for alsa-lib without hardware: an external control plugin (type "autl_fake") that
 * serves a fixed set of mixer controls for cards 0 to 7, each card with its own values. The tests
 * select it for "hw:N" through an ALSA configuration of their own (fake_alsa_card.h).
 *
 * Values live as long as the plugin stays loaded, across closing and opening a card, as a real
 * card's would. With a "state" file in the configuration they also outlive the process: every
 * open loads the file, if it exists, and every write saves it, so that one program can read what
 * another wrote. Two entry points for the tests: autl_fake_ctl_reset() puts every card back to its
 * first values, and autl_fake_ctl_add_late_control(card) lists one more control on a card.
 */
#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum {
    kSpeakerVolume,
    kCodecBlob,
    kRouteSelect,
    kMuteSwitch,
    kBigCounter,
    kDupGain0,
    kDupGain1,
    kFaultyLevel,
    kLateSwitch, /* listed only after autl_fake_ctl_add_late_control */
    kControlCount,
};

#define CARD_COUNT 8
#define MAX_VALUES 8

struct control {
    const char* name;
    unsigned int index;
    snd_ctl_elem_type_t type;
    unsigned int count;
    long min;
    long max;
};

static const struct control kControls[kControlCount] = {
        [kSpeakerVolume] = {"Speaker Volume", 0, SND_CTL_ELEM_TYPE_INTEGER, 2, -10, 100},
        [kCodecBlob] = {"Codec Blob", 0, SND_CTL_ELEM_TYPE_BYTES, 8, 0, 255},
        [kRouteSelect] = {"Route Select", 0, SND_CTL_ELEM_TYPE_ENUMERATED, 1, 0, 2},
        [kMuteSwitch] = {"Mute Switch", 0, SND_CTL_ELEM_TYPE_BOOLEAN, 1, 0, 1},
        [kBigCounter] = {"Big Counter", 0, SND_CTL_ELEM_TYPE_INTEGER64, 1, 0, 0},
        [kDupGain0] = {"Dup Gain", 0, SND_CTL_ELEM_TYPE_INTEGER, 1, 0, 10},
        [kDupGain1] = {"Dup Gain", 1, SND_CTL_ELEM_TYPE_INTEGER, 1, 0, 10},
        /* Every read and write fails in the driver (-EIO). */
        [kFaultyLevel] = {"Faulty Level", 0, SND_CTL_ELEM_TYPE_INTEGER, 1, 0, 100},
        [kLateSwitch] = {"Late Switch", 0, SND_CTL_ELEM_TYPE_BOOLEAN, 1, 0, 1},
};

static const char* const kRouteItems[] = {"Off", "Speaker", "Headset"};

struct card {
    /* Integer, boolean and enumerated values; bytes are 0..255. */
    long values[kControlCount][MAX_VALUES];
    int64_t big_counter;
    unsigned int listed;
};

static struct card cards[CARD_COUNT];
static int cards_set;
static char state_path[4096];

static void LoadState(void) {
    FILE* file = state_path[0] != '\0' ? fopen(state_path, "rb") : NULL;
    if (file == NULL) return;
    struct card loaded[CARD_COUNT];
    if (fread(loaded, sizeof(loaded), 1, file) == 1) memcpy(cards, loaded, sizeof(cards));
    fclose(file);
}

static void SaveState(void) {
    FILE* file = state_path[0] != '\0' ? fopen(state_path, "wb") : NULL;
    if (file == NULL) return;
    fwrite(cards, sizeof(cards), 1, file);
    fclose(file);
}

void autl_fake_ctl_reset(void) {
    for (int i = 0; i < CARD_COUNT; ++i) {
        struct card* card = &cards[i];
        memset(card, 0, sizeof(*card));
        card->values[kSpeakerVolume][0] = 50;
        card->values[kSpeakerVolume][1] = 60;
        static const long kBlob[8] = {1, 2, 3, 4, 127, 128, 254, 255};
        memcpy(card->values[kCodecBlob], kBlob, sizeof(kBlob));
        card->values[kRouteSelect][0] = 1;
        card->values[kDupGain0][0] = 3;
        card->values[kDupGain1][0] = 7;
        card->big_counter = 5000000000;
        card->listed = kLateSwitch;
    }
    cards_set = 1;
}

void autl_fake_ctl_add_late_control(int card) {
    if (card < 0 || card >= CARD_COUNT) return;
    cards[card].listed = kControlCount;
    SaveState();
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
    (void)ext;
    *type = kControls[key].type;
    *acc = SND_CTL_EXT_ACCESS_READWRITE;
    *count = kControls[key].count;
    return 0;
}

static int GetIntegerInfo(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* min, long* max,
                          long* step) {
    (void)ext;
    *min = kControls[key].min;
    *max = kControls[key].max;
    *step = 1;
    return 0;
}

static int GetInteger64Info(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, int64_t* min, int64_t* max,
                            int64_t* step) {
    (void)ext;
    (void)key;
    *min = 0;
    *max = INT64_MAX;
    *step = 1;
    return 0;
}

static int GetEnumeratedInfo(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned int* items) {
    (void)ext;
    (void)key;
    *items = sizeof(kRouteItems) / sizeof(kRouteItems[0]);
    return 0;
}

static int GetEnumeratedName(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned int item,
                             char* name, size_t name_max_len) {
    (void)ext;
    (void)key;
    if (item >= sizeof(kRouteItems) / sizeof(kRouteItems[0])) return -EINVAL;
    snprintf(name, name_max_len, "%s", kRouteItems[item]);
    return 0;
}

/* Copies the values of a control out, or checks and stores new ones (1 when they changed). */
static int ReadValues(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* out) {
    if (key == kFaultyLevel) return -EIO;
    memcpy(out, Card(ext)->values[key], kControls[key].count * sizeof(long));
    return 0;
}

static int WriteValues(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, const long* in) {
    if (key == kFaultyLevel) return -EIO;
    const struct control* control = &kControls[key];
    for (unsigned int i = 0; i < control->count; ++i) {
        if (in[i] < control->min || in[i] > control->max) return -EINVAL;
    }
    long* values = Card(ext)->values[key];
    const int changed = memcmp(values, in, control->count * sizeof(long)) != 0;
    memcpy(values, in, control->count * sizeof(long));
    SaveState();
    return changed;
}

static int ReadInteger(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* value) {
    return ReadValues(ext, key, value);
}

static int WriteInteger(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* value) {
    return WriteValues(ext, key, value);
}

static int ReadInteger64(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, int64_t* value) {
    (void)key;
    *value = Card(ext)->big_counter;
    return 0;
}

static int WriteInteger64(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, int64_t* value) {
    (void)key;
    const int changed = Card(ext)->big_counter != *value;
    Card(ext)->big_counter = *value;
    SaveState();
    return changed;
}

static int ReadEnumerated(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned int* items) {
    long value = 0;
    const int result = ReadValues(ext, key, &value);
    items[0] = (unsigned int)value;
    return result;
}

static int WriteEnumerated(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned int* items) {
    const long value = items[0];
    return WriteValues(ext, key, &value);
}

static int ReadBytes(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, unsigned char* data,
                     size_t max_bytes) {
    long values[MAX_VALUES];
    const int result = ReadValues(ext, key, values);
    for (unsigned int i = 0; i < kControls[key].count && i < max_bytes; ++i) {
        data[i] = (unsigned char)values[i];
    }
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
        .read_integer = ReadInteger,
        .read_integer64 = ReadInteger64,
        .read_enumerated = ReadEnumerated,
        .read_bytes = ReadBytes,
        .write_integer = WriteInteger,
        .write_integer64 = WriteInteger64,
        .write_enumerated = WriteEnumerated,
        .write_bytes = WriteBytes,
};

/* The card number arrives as an integer, or as a string from the @args of a ctl definition. */
static int ParseCard(snd_config_t* node, long* card) {
    if (snd_config_get_integer(node, card) == 0) return 0;
    const char* text;
    if (snd_config_get_string(node, &text) < 0) return -EINVAL;
    char* end;
    *card = strtol(text, &end, 10);
    return *text != '\0' && *end == '\0' ? 0 : -EINVAL;
}

SND_CTL_PLUGIN_DEFINE_FUNC(autl_fake) {
    (void)root;
    long number = 0;
    const char* card_name = "Fake Card";
    const char* state = "";
    snd_config_iterator_t i, next;
    snd_config_for_each(i, next, conf) {
        snd_config_t* node = snd_config_iterator_entry(i);
        const char* id;
        if (snd_config_get_id(node, &id) < 0) continue;
        if (strcmp(id, "comment") == 0 || strcmp(id, "type") == 0 || strcmp(id, "hint") == 0) {
            continue;
        }
        if (strcmp(id, "card") == 0) {
            if (ParseCard(node, &number) < 0) return -EINVAL;
        } else if (strcmp(id, "name") == 0) {
            if (snd_config_get_string(node, &card_name) < 0) return -EINVAL;
        } else if (strcmp(id, "state") == 0) {
            if (snd_config_get_string(node, &state) < 0) return -EINVAL;
        } else {
            SNDERR("Unknown field %s", id);
            return -EINVAL;
        }
    }
    if (number < 0 || number >= CARD_COUNT) return -ENODEV;
    if (!cards_set) autl_fake_ctl_reset();
    snprintf(state_path, sizeof(state_path), "%s", state);
    LoadState();

    snd_ctl_ext_t* ext = calloc(1, sizeof(*ext));
    if (ext == NULL) return -ENOMEM;
    ext->version = SND_CTL_EXT_VERSION;
    ext->card_idx = (int)number;
    snprintf(ext->id, sizeof(ext->id), "AutlFake%ld", number);
    snprintf(ext->driver, sizeof(ext->driver), "autl_fake");
    snprintf(ext->name, sizeof(ext->name), "%s %ld", card_name, number);
    snprintf(ext->longname, sizeof(ext->longname), "%s %ld (control plugin)", card_name, number);
    snprintf(ext->mixername, sizeof(ext->mixername), "%s Mixer", card_name);
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
