package android.media.audio.common;

/** Device-port specific data. */
@VintfStability
parcelable AudioPortDeviceExt {
    const int FLAG_INDEX_DEFAULT_DEVICE = 0;

    AudioDevice device;
    /** Bitmask indexed by FLAG_INDEX_* (bit = 1 << index). */
    int flags;
    AudioFormatDescription[] encodedFormats;
    /** Bitmask indexed by AudioEncapsulationMode. */
    int encapsulationModes;
    /** Bitmask indexed by AudioEncapsulationMetadataType. */
    int encapsulationMetadataTypes;
    @nullable AudioChannelLayout speakerLayout;
}
