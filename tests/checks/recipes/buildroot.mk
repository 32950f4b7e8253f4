# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# What Buildroot gives to a package, as far as the recipe asks for it. RECIPE, ZOL_BUILDDIR and
# TARGET_DIR are given, and what is chosen in the menu.
BR2_CMAKE = cmake

define cmake-package
evaluated += target
endef

define host-cmake-package
evaluated += host
endef

include $(RECIPE)

# Prints what the recipe says, a line a variable.
show:
	@echo "evaluated=$(evaluated)"
	@echo "version=$(ZOL_VERSION)"
	@echo "archive=zol-$(ZOL_VERSION).tar.gz"
	@echo "licence=$(ZOL_LICENSE) $(ZOL_LICENSE_FILES)"
	@echo "staging=$(ZOL_INSTALL_STAGING)"
	@echo "options=$(ZOL_CONF_OPTS)"
	@echo "host_options=$(HOST_ZOL_CONF_OPTS)"

install:
	$(ZOL_INSTALL_TARGET_CMDS)
