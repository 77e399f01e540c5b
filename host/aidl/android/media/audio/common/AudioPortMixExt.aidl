package android.media.audio.common;

/** Mix-port specific data. */
@VintfStability
parcelable AudioPortMixExt {
    /** I/O handle of the mix. */
    int handle;
    AudioPortMixExtUseCase usecase;
    int maxOpenStreamCount;
    int maxActiveStreamCount;
    int recommendedMuteDurationMs;
}
