# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
################################################################################
#
# zol
#
################################################################################

ZOL_VERSION = 1.0.0
# A placeholder: no archive lies there.
ZOL_SITE = https://zol.example.invalid/releases
ZOL_LICENSE = MIT
ZOL_LICENSE_FILES = LICENSE
ZOL_INSTALL_STAGING = YES

ZOL_CONF_OPTS = \
	-DZOL_BUILD_TESTS=OFF \
	-DZOL_BUILD_EXAMPLES=OFF \
	-DZOL_BUILD_TOOLS=$(if $(BR2_PACKAGE_ZOL_TOOLS),ON,OFF) \
	-DZOL_PRIVATE_RUNTIME=$(if $(BR2_PACKAGE_ZOL_PRIVATE_RUNTIME),ON,OFF)

# The loop on a virtual clock is for tests, and stays in staging.
define ZOL_INSTALL_TARGET_CMDS
	DESTDIR=$(TARGET_DIR) $(BR2_CMAKE) --install $(ZOL_BUILDDIR) --component runtime
	$(if $(BR2_PACKAGE_ZOL_TOOLS),DESTDIR=$(TARGET_DIR) \
		$(BR2_CMAKE) --install $(ZOL_BUILDDIR) --component tools)
endef

# zolcat, for packages that compile message catalogs.
HOST_ZOL_CONF_OPTS = \
	-DZOL_BUILD_TESTS=OFF \
	-DZOL_BUILD_EXAMPLES=OFF \
	-DZOL_BUILD_TOOLS=ON

$(eval $(cmake-package))
$(eval $(host-cmake-package))
