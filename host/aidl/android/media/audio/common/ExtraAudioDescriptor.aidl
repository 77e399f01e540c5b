package android.media.audio.common;

/** Opaque, standard-defined audio capability descriptor (for example from HDMI EDID). */
@VintfStability
parcelable ExtraAudioDescriptor {
    AudioStandard standard = AudioStandard.NONE;
    byte[] audioDescriptor;
    AudioEncapsulationType encapsulationType = AudioEncapsulationType.NONE;
}
