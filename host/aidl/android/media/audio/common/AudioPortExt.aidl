package android.media.audio.common;

/** Port kind specific data. unspecified is used when the kind is not set. */
@VintfStability
union AudioPortExt {
    boolean unspecified;
    AudioPortDeviceExt device;
    AudioPortMixExt mix;
    int session;
}
