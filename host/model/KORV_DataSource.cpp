#include "host/model/KORV_DataSource.h"

#include <cassert>

#include "host/numeric/Obs.h"

KORV_InputCaseIterator::~KORV_InputCaseIterator() = default;

KORV_DataSource::KORV_DataSource(std::shared_ptr<Dictionary> dictionary)
    : fpDictionary(std::move(dictionary)) {
  assert(fpDictionary != nullptr);
}

KORV_DataSource::~KORV_DataSource() = default;

unsigned KORV_DataSource::ColumnCount() const {
  return static_cast<unsigned>(fpDictionary->variables.size());
}

KORV_Variable& KORV_DataSource::GetVariable(int index) {
  assert(0 <= index && index < static_cast<int>(ColumnCount()));
  return fpDictionary->variables[static_cast<std::size_t>(index)];
}

const KORV_Variable& KORV_DataSource::GetVariable(int index) const {
  assert(0 <= index && index < static_cast<int>(ColumnCount()));
  return fpDictionary->variables[static_cast<std::size_t>(index)];
}

int KORV_DataSource::FindVarIndex(const std::string& name, int) const {
  return fpDictionary->Find(name);
}

KORV_Variable& KORV_DataSource::MakeVariable(const KORV_Variable& source, int& index) {
  index = static_cast<int>(fpDictionary->variables.size());
  return fpDictionary->variables.emplace_back(source);
}

KORV_Variable& KORV_DataSource::MakeVariable(int, int& index) {
  return MakeVariable(KORV_Variable(), index);
}

KORV_InputCaseIterator* KORV_DataSource::MakeInputCaseIterator(int) {
  return nullptr;
}

std::size_t KORV_DataSource::CaseCellCount() const {
  std::size_t cells = 0;
  for (const KORV_Variable& variable : fpDictionary->variables) cells += ObsCells(variable.GetType());
  return cells;
}
