package android.media.audio.common;

/** Empty parcelable: the payload of union alternatives that carry none. */
@FixedSize
@VintfStability
parcelable Void {}
