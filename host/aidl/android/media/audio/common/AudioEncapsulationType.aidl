package android.media.audio.common;

/** How encoded audio is encapsulated on the wire. */
@Backing(type="int")
@VintfStability
enum AudioEncapsulationType {
    NONE = 0,
    IEC61937 = 1,
    PCM = 2,
}
