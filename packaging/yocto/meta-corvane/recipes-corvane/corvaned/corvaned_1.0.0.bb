SUMMARY = "Legacy parameter and lens service of the multi-sensor camera"
DESCRIPTION = "corvaned keeps the corvane.* subtree of the configuration bus \
in step with the device's native nodes and carries the lens and PTZ logic of \
the four-sensor head."
LICENSE = "BSD-2-Clause"
LIC_FILES_CHKSUM = "file://LICENSE;md5=9f7c9fe37bb58af7c82b5bbe3a52efe2"

# Built from the source tree the layer lives in; a product layer may instead
# set SRC_URI and SRCREV to its own copy of the repository.
inherit externalsrc
EXTERNALSRC ?= "${@os.path.abspath(os.path.join(d.getVar('THISDIR'), '../../../../..'))}"
EXTERNALSRC_BUILD ?= "${WORKDIR}/build"

inherit cmake systemd update-rc.d

# The init files are installed below; the man pages and the host tools'
# bus on Redis stay off the target.
EXTRA_OECMAKE = "-DCORVANE_TESTS=OFF -DCORVANE_INIT_FILES=OFF -DCORVANE_MAN_PAGES=OFF \
                 -DCORVANE_NO_CXX_RUNTIME=ON -DCORVANE_REDIS_BUS=OFF"

# vendor-libs: link the camera's own bus, model-feature, video and
# motor-controller libraries instead of the simulated camera.
# CORVANE_VENDOR_DEPENDS names the recipe that provides them.
CORVANE_VENDOR_LIBS ?= "nbus;modelfeature;avc;mcu"
CORVANE_VENDOR_DEPENDS ?= ""
PACKAGECONFIG ??= "${@bb.utils.filter('DISTRO_FEATURES', 'systemd', d)}"
PACKAGECONFIG[vendor-libs] = "-DCORVANE_PLATFORM_LIBS='${CORVANE_VENDOR_LIBS}',,${CORVANE_VENDOR_DEPENDS}"
# systemd: the unit is Type=notify, so the daemon tells systemd when it is
# ready (libsystemd's sd_notify).
PACKAGECONFIG[systemd] = "-DCORVANE_SYSTEMD=ON,-DCORVANE_SYSTEMD=OFF,systemd"

do_install() {
    DESTDIR='${D}' cmake --install '${B}' --component daemon
    if ${@bb.utils.contains('DISTRO_FEATURES', 'sysvinit', 'true', 'false', d)}; then
        install -D -m 0755 ${S}/packaging/buildroot/package/corvaned/S80corvaned \
            ${D}${sysconfdir}/init.d/corvaned
    fi
    if ${@bb.utils.contains('DISTRO_FEATURES', 'systemd', 'true', 'false', d)}; then
        install -D -m 0644 ${S}/packaging/systemd/corvaned.service \
            ${D}${systemd_system_unitdir}/corvaned.service
        sed -i 's|/usr/sbin/|${sbindir}/|' ${D}${systemd_system_unitdir}/corvaned.service
    fi
}

SYSTEMD_SERVICE:${PN} = "corvaned.service"
INITSCRIPT_NAME = "corvaned"
INITSCRIPT_PARAMS = "defaults 80 20"
