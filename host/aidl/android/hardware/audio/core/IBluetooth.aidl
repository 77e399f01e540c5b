package android.hardware.audio.core;

import android.media.audio.common.Boolean;
import android.media.audio.common.Float;
import android.media.audio.common.Int;

/** Bluetooth control of a module; on the host a binder handle that scopes its settings. */
@VintfStability
interface IBluetooth {
    /**
     * Bluetooth hands-free profile settings; optional members are left unset when not being
     * changed.
     */
    @VintfStability
    parcelable HfpConfig {
        const int VOLUME_MIN = 0;
        const int VOLUME_MAX = 1;

        @nullable Boolean isEnabled;
        /** Hz, positive. */
        @nullable Int sampleRate;
        /** Linear, VOLUME_MIN (muted) .. VOLUME_MAX (unity). */
        @nullable Float volume;
    }

    /** Bluetooth SCO link settings; optional members are left unset when not being changed. */
    @VintfStability
    parcelable ScoConfig {
        /** SCO codec mode (narrow band, wide band, super wide band). */
        @VintfStability
        enum Mode {
            UNSPECIFIED = 0,
            SCO = 1,
            SCO_WB = 2,
            SCO_SWB = 3,
        }

        @nullable Boolean isEnabled;
        @nullable Boolean isNrecEnabled;
        Mode mode = Mode.UNSPECIFIED;
        @nullable @utf8InCpp String debugName;
    }
}
