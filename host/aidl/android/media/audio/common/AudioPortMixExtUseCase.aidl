package android.media.audio.common;

/** What a mix port is used for: a stream type (output) or an audio source (input). */
@VintfStability
union AudioPortMixExtUseCase {
    boolean unspecified;
    AudioStreamType stream;
    AudioSource source;
}
