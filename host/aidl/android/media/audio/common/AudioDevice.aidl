package android.media.audio.common;

/** A device: its description (type + connection) and its address. */
@VintfStability
parcelable AudioDevice {
    AudioDeviceDescription type;
    AudioDeviceAddress address;
}
