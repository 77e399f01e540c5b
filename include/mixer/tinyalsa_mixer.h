#pragma once

// Mixer access: reads and writes the ALSA mixer controls of one sound card by name, over tinyalsa.
// Every public operation is virtual, so that the HAL programs against this operation set and a
// different mixer or a test double can take the class's place. Failures are never thrown or
// logged: an operation answers with an empty optional, an empty vector or false.
//
//   TinyalsaMixer mixer;
//   if (mixer.Open(0)) {
//       mixer.SetEnum("Speaker Route", "Headset");
//       std::optional<long> volume = mixer.GetIntegerValue("Speaker Volume");
//   }
//
// Names and enumeration texts reach tinyalsa as C strings: every std::string_view argument must
// view a NUL-terminated string, and its length is not used. The views returned by GetName, GetEnum
// and GetEnums point into tinyalsa's storage and stay valid only while the mixer stays open.
//
// Each object has one mutex, held by every public operation (SetIntegerValue through
// SetIntegerValues) for its whole duration, tinyalsa's calls included. The operations block on it
// and on the sound driver, so they are not meant for an audio thread.

#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

struct mixer;
struct mixer_ctl;

namespace vendor::zentro::tevrash::audio::hal::utils::mixer {

class TinyalsaMixer {
  public:
    // Closed, with card -1 (no card has that number).
    TinyalsaMixer();
    // Closes the mixer.
    virtual ~TinyalsaMixer();
    TinyalsaMixer(const TinyalsaMixer&) = delete;
    TinyalsaMixer& operator=(const TinyalsaMixer&) = delete;

    // Refused (false) when card is the card number last passed to Open, even after Close, and
    // while a mixer is open; so a card is opened at most once, and switching cards needs Close.
    // Otherwise remembers card and opens its mixer; false if that fails.
    virtual bool Open(int card);
    // Keeps the card number.
    virtual void Close();
    // Makes the controls added to the card since Open visible. False when closed or on failure.
    virtual bool UpdateControls();
    // The first value of the control; empty when closed or the control does not exist. When the
    // array read fails (an enumerated control, a 64-bit one, a failing driver), the first value
    // is read on its own, and there only tinyalsa's refusal, -22, means no value: a driver that
    // fails the read too makes the value -1, which callers cannot tell from a real -1. Of an
    // IEC958 control, the first bytes of its block.
    virtual std::optional<long> GetIntegerValue(std::string_view name);
    // Reads count bytes into values. False when count < 1, values is null, closed, not found, or
    // the control is not a byte control (tinyalsa would copy a long or more per value into the
    // buffer).
    virtual bool GetByteValues(std::string_view name, char* values, int count);
    virtual std::optional<unsigned int> GetNumberOfValues(std::string_view name);
    // The text of the selected item of an enumerated control.
    virtual std::optional<std::string_view> GetEnum(std::string_view name);
    // The item texts of an enumerated control, in item order; items without a text are left out,
    // so positions then differ from item indices. Empty when closed, not found, or the control is
    // not enumerated.
    virtual std::vector<std::string_view> GetEnums(std::string_view name);
    // The card's name; empty when closed.
    virtual std::optional<std::string_view> GetName();
    // SetIntegerValues(name, &value, 1): an override of SetIntegerValues governs this too.
    virtual bool SetIntegerValue(std::string_view name, long value);
    // Writes count values (the control's values past count become 0). False when count is 0,
    // values is null, closed, not found, or the control is an IEC958 control (tinyalsa would read
    // a whole block per value); a negative count reaches tinyalsa, which refuses it.
    virtual bool SetIntegerValues(std::string_view name, const long* values, int count);
    // As SetIntegerValues, with bytes; false for a control that is not a byte control.
    virtual bool SetByteValues(std::string_view name, const char* values, int count);
    // Selects the item whose text is value.
    virtual bool SetEnum(std::string_view name, std::string_view value);

  private:
    // Neither takes the mutex: for use inside an operation that holds it.
    std::optional<long> GetValue(std::string_view name);
    bool SetMixerControlArray(std::string_view name, const void* values, int count, bool bytes);

    int card_;
    struct ::mixer* mixer_;
    std::mutex mutex_;
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils::mixer
