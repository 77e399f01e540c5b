package android.media.audio.common;

/** Boxed float, used to make a float optional via @nullable. */
@VintfStability
parcelable Float {
    float value;
}
