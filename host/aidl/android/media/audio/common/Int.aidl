package android.media.audio.common;

/** Boxed int, used to make an int optional via @nullable. */
@VintfStability
parcelable Int {
    int value;
}
