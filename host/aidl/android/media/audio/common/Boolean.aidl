package android.media.audio.common;

/** Boxed boolean, used to make a boolean optional via @nullable. */
@VintfStability
parcelable Boolean {
    boolean value;
}
