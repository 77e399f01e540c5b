#pragma once

// Sound cards without hardware: routes alsa-lib's control devices "hw:0" to "hw:7" to the test
// control plugin (alsa_ctl_plugin.c), for this process and the programs it starts. While a
// FakeAlsaCards lives, ALSA_CONFIG_PATH names a configuration that defines only those devices
// (nothing of the system's ALSA configuration is read). The cards keep their values in a file beside
// the configuration, so that programs started by the test see the same cards, one after another.
//
// Each card is named "Test Card <N>" and offers, in this order:
//   "Speaker Volume"  integer, 2 values, -10..100, first 50 60
//   "Codec Blob"      bytes, 8 values, first 1 2 3 4 127 128 254 255
//   "Route Select"    enumerated, items "Off" "Speaker" "Headset", first "Speaker"
//   "Mute Switch"     boolean, first 0
//   "Big Counter"     64-bit integer, first 5000000000
//   "Dup Gain"        integer 0..10, twice: index 0 (first 3) and index 1 (first 7)
//   "Faulty Level"    integer 0..100 whose reads and writes fail with -EIO
//   "Late Switch"     boolean, listed only after AddLateControl
// Out-of-range values are refused with -EINVAL. Cards 8 and above fail to open with -ENODEV.

#include <android-base/file.h>

namespace autl::test {

class FakeAlsaCards {
  public:
    // Puts every card back to its first values.
    FakeAlsaCards();
    ~FakeAlsaCards();
    FakeAlsaCards(const FakeAlsaCards&) = delete;
    FakeAlsaCards& operator=(const FakeAlsaCards&) = delete;

    // Lists "Late Switch" on the card from now on.
    void AddLateControl(int card);

  private:
    TemporaryDir dir_;
    void* plugin_;
};

}  // namespace autl::test
