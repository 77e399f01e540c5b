package android.media.audio.common;

/** A configuration applied to a port. Nullable members mean "not specified". */
@VintfStability
parcelable AudioPortConfig {
    /** Non-zero selects an existing port config. */
    int id;
    int portId;
    @nullable Int sampleRate;
    @nullable AudioChannelLayout channelMask;
    @nullable AudioFormatDescription format;
    @nullable AudioGainConfig gain;
    @nullable AudioIoFlags flags;
    AudioPortExt ext;
}
