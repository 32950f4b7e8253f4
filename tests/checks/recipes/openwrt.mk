# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# What OpenWrt's rules.mk and package.mk give to a package, as far as the recipe asks for it.
# PKG_INSTALL_DIR and DEST are given.
INSTALL_DIR = install -d -m0755
CP = cp -fpR

define HostBuild
evaluated += host
endef

# The definition of a package sets variables, and its install commands get a folder.
define BuildPackage
evaluated += $(1)
$(Package/$(1))
install:
	$$(call Package/$(1)/install,$$(DEST))
endef

# Prints what the recipe says, a line a variable.
show:
	@echo "evaluated=$(evaluated)"
	@echo "version=$(PKG_VERSION)"
	@echo "archive=$(PKG_SOURCE)"
	@echo "licence=$(PKG_LICENSE) $(PKG_LICENSE_FILES)"
	@echo "staging=$(CMAKE_INSTALL)"
	@echo "abi=$(ABI_VERSION)"
	@echo "described=$(strip $(Package/libzol/description))"
	@echo "placed=$(SECTION) $(CATEGORY) $(TITLE)"
	@echo "options=$(CMAKE_OPTIONS)"
	@echo "host_options=$(CMAKE_HOST_OPTIONS)"
