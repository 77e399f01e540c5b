package android.hardware.audio.common;

import android.media.audio.common.AudioChannelLayout;
import android.media.audio.common.AudioContentType;
import android.media.audio.common.AudioDevice;
import android.media.audio.common.AudioUsage;

/** Metadata of one playback track feeding an output stream. */
@VintfStability
parcelable PlaybackTrackMetadata {
    AudioUsage usage = AudioUsage.INVALID;
    AudioContentType contentType = AudioContentType.UNKNOWN;
    /** Non-negative linear factor (0 = muted, 1 = unity). */
    float gain;
    AudioChannelLayout channelMask;
    @nullable AudioDevice sourceDevice;
    @utf8InCpp String[] tags;
    @nullable @utf8InCpp String codecProvenance;
}
