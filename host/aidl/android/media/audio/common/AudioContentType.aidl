package android.media.audio.common;

/** Playback content type. */
@Backing(type="int")
@VintfStability
enum AudioContentType {
    UNKNOWN = 0,
    SPEECH = 1,
    MUSIC = 2,
    MOVIE = 3,
    SONIFICATION = 4,
    ULTRASOUND = 1997,
}
