package android.media.audio.common;

/** A format with the channel layouts and sample rates supported for it. */
@VintfStability
parcelable AudioProfile {
    @utf8InCpp String name;
    AudioFormatDescription format;
    AudioChannelLayout[] channelMasks;
    int[] sampleRates;
    AudioEncapsulationType encapsulationType = AudioEncapsulationType.NONE;
}
