package android.media.audio.common;

/** A port of an audio module: a device port or a mix port (see ext). */
@VintfStability
parcelable AudioPort {
    int id;
    @utf8InCpp String name;
    AudioProfile[] profiles;
    AudioIoFlags flags;
    ExtraAudioDescriptor[] extraAudioDescriptors;
    AudioGain[] gains;
    AudioPortExt ext;
}
