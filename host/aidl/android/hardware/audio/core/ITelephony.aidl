package android.hardware.audio.core;

import android.media.audio.common.Boolean;
import android.media.audio.common.Float;

/** Telephony control of a module; on the host a binder handle that scopes its settings. */
@VintfStability
interface ITelephony {
    /**
     * Telephony-related settings; every member is optional so that a caller can change only some of
     * them.
     */
    @VintfStability
    parcelable TelecomConfig {
        /** TTY (teletypewriter) mode of a call. */
        @Backing(type="int")
        @VintfStability
        enum TtyMode {
            UNSPECIFIED = -1,
            OFF = 0,
            FULL = 1,
            HCO = 2,
            VCO = 3,
        }

        const int VOICE_VOLUME_MIN = 0;
        const int VOICE_VOLUME_MAX = 1;

        /** Linear, VOICE_VOLUME_MIN (muted) .. VOICE_VOLUME_MAX (unity). */
        @nullable Float voiceVolume;
        TtyMode ttyMode = TtyMode.UNSPECIFIED;
        @nullable Boolean isHacEnabled;
    }
}
