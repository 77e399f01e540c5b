package android.hardware.audio.core;

/** Debug/test switches that a client can push to a module. */
@VintfStability
parcelable ModuleDebug {
    boolean simulateDeviceConnections;
    int streamTransientStateDelayMs;
}
