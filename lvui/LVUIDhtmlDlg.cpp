#include "include/LvUi.h"

#include "Theme.h"

#include <algorithm>

CLVUIDhtmlDlg::CLVUIDhtmlDlg() = default;

CLVUIDhtmlDlg::~CLVUIDhtmlDlg() = default;

void CLVUIDhtmlDlg::SetZoom(long zoom)
{
    m_zoom = std::clamp(zoom, lvui::kMinZoom, lvui::kMaxZoom);
}

long CLVUIDhtmlDlg::GetZoom() const
{
    return m_zoom;
}
