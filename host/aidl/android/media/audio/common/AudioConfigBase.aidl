package android.media.audio.common;

/** Basic stream configuration: sample rate, channel layout, format. */
@VintfStability
parcelable AudioConfigBase {
    int sampleRate;
    AudioChannelLayout channelMask;
    AudioFormatDescription format;
}
