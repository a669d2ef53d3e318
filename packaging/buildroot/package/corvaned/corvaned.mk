################################################################################
#
# corvaned
#
################################################################################

CORVANED_VERSION = 1.0.0
# The package is built from the source tree this external tree lives in.
CORVANED_SITE = $(BR2_EXTERNAL_CORVANE_PATH)/../..
CORVANED_SITE_METHOD = local
CORVANED_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build
CORVANED_LICENSE = BSD-2-Clause
CORVANED_LICENSE_FILES = LICENSE

# The init files come from this package; the man pages and the host
# tools' bus on Redis stay off the target.
CORVANED_CONF_OPTS = \
	-DCORVANE_TESTS=OFF \
	-DCORVANE_REDIS_BUS=OFF \
	-DCORVANE_INIT_FILES=OFF \
	-DCORVANE_MAN_PAGES=OFF \
	-DCORVANE_NO_CXX_RUNTIME=ON
CORVANED_INSTALL_TARGET_OPTS = --component daemon

# The unit is Type=notify: with systemd as init the daemon says when it is
# ready through libsystemd; a BusyBox image has neither.
ifeq ($(BR2_INIT_SYSTEMD),y)
CORVANED_CONF_OPTS += -DCORVANE_SYSTEMD=ON
CORVANED_DEPENDENCIES += systemd
else
CORVANED_CONF_OPTS += -DCORVANE_SYSTEMD=OFF
endif

ifeq ($(BR2_PACKAGE_CORVANED_VENDOR_LIBS),y)
CORVANED_CONF_OPTS += \
	-DCORVANE_PLATFORM_LIBS="$(call qstrip,$(BR2_PACKAGE_CORVANED_VENDOR_LIB_NAMES))"
CORVANED_DEPENDENCIES += $(call qstrip,$(BR2_PACKAGE_CORVANED_VENDOR_PACKAGE))
endif

define CORVANED_INSTALL_INIT_SYSV
	$(INSTALL) -D -m 0755 $(CORVANED_PKGDIR)/S80corvaned \
		$(TARGET_DIR)/etc/init.d/S80corvaned
endef

define CORVANED_INSTALL_INIT_SYSTEMD
	$(INSTALL) -D -m 0644 $(@D)/packaging/systemd/corvaned.service \
		$(TARGET_DIR)/usr/lib/systemd/system/corvaned.service
endef

$(eval $(cmake-package))
