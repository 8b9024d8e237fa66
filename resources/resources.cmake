# The artwork and typefaces, compiled into yuzuha_ui so an installed program needs no data folder.
# Paths read ":/Sprites/office/t0.webp", ":/Sprites/menubar.png" (and tray14/16/24/32.png), ":/fonts/DotGothic16-Regular.ttf".
set(YUZUHA_RESOURCE_DIR ${PROJECT_SOURCE_DIR}/resources)
# Outfits not drawn yet have no folder; the program falls back to the office sprites for them.
file(GLOB_RECURSE yuzuha_sprite_files RELATIVE ${YUZUHA_RESOURCE_DIR} CONFIGURE_DEPENDS ${YUZUHA_RESOURCE_DIR}/Sprites/*.webp)
list(SORT yuzuha_sprite_files)
list(APPEND yuzuha_sprite_files Sprites/menubar.png Sprites/tray14.png Sprites/tray16.png Sprites/tray24.png Sprites/tray32.png)
set(yuzuha_font_files fonts/DotGothic16-Regular.ttf fonts/RoundedMplus1c-Medium.ttf fonts/RoundedMplus1c-ExtraBold.ttf)

set(yuzuha_asset_paths "")
foreach(file IN LISTS yuzuha_sprite_files yuzuha_font_files)
    list(APPEND yuzuha_asset_paths ${YUZUHA_RESOURCE_DIR}/${file})
endforeach()
qt_add_resources(yuzuha_ui yuzuha_assets
    PREFIX /
    BASE ${YUZUHA_RESOURCE_DIR}
    FILES ${yuzuha_asset_paths}
)
