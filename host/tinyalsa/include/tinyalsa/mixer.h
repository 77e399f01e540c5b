/*
 * tinyalsa's mixer interface as tinyalsa 2.x declares it, for a Linux host: the calls that open a
 * card's control device, find controls by name and read or write their values.
 *
 *   struct mixer* mixer = mixer_open(0);
 *   struct mixer_ctl* ctl = mixer_get_ctl_by_name(mixer, "Speaker Volume");
 *   long volume[2] = {80, 80};
 *   if (ctl != NULL && mixer_ctl_set_array(ctl, volume, 2) == 0) { ... }
 *   mixer_close(mixer);
 *
 * Return conventions: -EINVAL (-22) for a refused argument (null pointer, count 0 or above the
 * control's value count, an id out of range, a control of the wrong type), -1 with errno set for a
 * failed call into the sound driver, 0 for success; pointers are NULL on failure. Every string
 * returned lives until mixer_close. Nothing is printed.
 */
#ifndef TINYALSA_MIXER_H
#define TINYALSA_MIXER_H

#include <stddef.h>

#if defined(__cplusplus)
extern "C" {
#endif

struct mixer;
struct mixer_ctl;

enum mixer_ctl_type {
    MIXER_CTL_TYPE_BOOL,
    MIXER_CTL_TYPE_INT,
    MIXER_CTL_TYPE_ENUM,
    MIXER_CTL_TYPE_BYTE,
    MIXER_CTL_TYPE_IEC958,
    MIXER_CTL_TYPE_INT64,
    MIXER_CTL_TYPE_UNKNOWN,
    MIXER_CTL_TYPE_MAX,
};

/* Opens the control device of a card; NULL if it does not exist or cannot be opened. */
struct mixer* mixer_open(unsigned int card);
/* Frees the mixer and every string and control it returned. NULL is allowed. */
void mixer_close(struct mixer* mixer);
/* Lists the card's controls again and adds those that appeared since the mixer was opened: 0 if
 * nothing changed, after adding, or for a NULL mixer; -1 if the card now has fewer controls or the
 * listing fails. Controls obtained earlier must be looked up again afterwards. */
int mixer_add_new_ctls(struct mixer* mixer);
/* The card's short name; NULL for a NULL mixer. */
const char* mixer_get_name(const struct mixer* mixer);
/* The first control with that name, whatever its index; NULL if none. */
struct mixer_ctl* mixer_get_ctl_by_name(struct mixer* mixer, const char* name);

/* The control's type; MIXER_CTL_TYPE_UNKNOWN for NULL. */
enum mixer_ctl_type mixer_ctl_get_type(const struct mixer_ctl* ctl);

/* Reads the first count values: longs for boolean and integer controls, bytes for byte controls,
 * one 176-byte block (the kernel's struct snd_aes_iec958) per value for IEC958 controls; array
 * must hold that many. Enumerated and 64-bit integer controls are refused. */
int mixer_ctl_get_array(const struct mixer_ctl* ctl, void* array, size_t count);
/* One value: a boolean as 0 or 1, an integer truncated to int, the selected item of an enumerated
 * control, a byte as 0..255. */
int mixer_ctl_get_value(const struct mixer_ctl* ctl, unsigned int id);
unsigned int mixer_ctl_get_num_values(const struct mixer_ctl* ctl);
/* The number of items of an enumerated control. For a control of another type, whatever shares
 * that place in the control's information: the low 32 bits of an integer control's minimum
 * (4294967286 for a minimum of -10), 0 for the others. */
unsigned int mixer_ctl_get_num_enums(const struct mixer_ctl* ctl);
/* The text of an item of an enumerated control; NULL out of range or for another type. */
const char* mixer_ctl_get_enum_string(struct mixer_ctl* ctl, unsigned int enum_id);

/* Writes the first count values (as for mixer_ctl_get_array); the values past count are written
 * as 0. */
int mixer_ctl_set_array(struct mixer_ctl* ctl, const void* array, size_t count);
/* Selects the item with that text in the first value of an enumerated control; -EINVAL if no item
 * has that text. */
int mixer_ctl_set_enum_by_string(struct mixer_ctl* ctl, const char* string);

#if defined(__cplusplus)
}
#endif

#endif /* TINYALSA_MIXER_H */
