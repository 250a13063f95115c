#pragma once
// The doctor's report as text for people: one section per subject, the browsers' registrations in their lookup
// order with the winner marked, and a summary at the end. Scripts take the JSON instead.

#include <json/json.h>

#include <string>

// `report` is what CRegDoctor::Examine returns. Lines end in "\n".
std::string RenderReportText(const Json::Value& report);
