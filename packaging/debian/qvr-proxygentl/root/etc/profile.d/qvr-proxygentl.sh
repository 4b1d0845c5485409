# Adds the producer for any camera to the folders of GenTL producers. README.Debian of qvr-proxygentl tells how to
# take the other producer instead.
if [ -e /@QVR_ANY_FOLDER@/qvr_anygentl.cti ]; then
    case ":${GENICAM_GENTL64_PATH:-}:" in
    *:/@QVR_ANY_FOLDER@:* | *:/@QVR_ANY_FOLDER@/:*) ;;
    *) GENICAM_GENTL64_PATH="${GENICAM_GENTL64_PATH:+$GENICAM_GENTL64_PATH:}/@QVR_ANY_FOLDER@" ;;
    esac
    export GENICAM_GENTL64_PATH
fi
