package android.media.audio.common;

/** Device address in one of several forms. */
@VintfStability
union AudioDeviceAddress {
    /** Opaque id; must never be parsed. */
    @utf8InCpp String id;
    /** Exactly 6 elements. */
    byte[] mac;
    /** Exactly 4 elements. */
    byte[] ipv4;
    /** Exactly 8 elements. */
    int[] ipv6;
    /** Exactly 2 elements: card id, device id. */
    int[] alsa;
}
